#include <memory>

#include "cli/definitions.h"

namespace ctfmeg::cli {
namespace {

/// A command that prints a table of each dataset, and the options that it fills in.
template <class Options>
std::pair<CLI::App*, std::shared_ptr<Options>> addTable(Definitions& definitions, const char* name,
                                                        const char* summary, const char* examples,
                                                        const char* identity, int (*run)(const Options&)) {
  const auto options = std::make_shared<Options>();
  auto* command = definitions.add(name, summary, examples, [options, run] { return run(*options); });
  addDatasets(command, options->datasets);
  addForm(command, options->form);
  addNoIdentity(command, options->reading, identity);
  addReading(command, options->reading);
  return {command, options};
}

}  // namespace

void addInfo(Definitions& definitions) {
  const auto options = std::make_shared<InfoOptions>();
  auto* command =
      definitions.add("info", "Show what recordings are, from their headers",
                      "  ctfmeg info run.ds\n"
                      "  ctfmeg info --json a.ds b.ds              all that headers say, for scripts\n"
                      "  ctfmeg info --trials 0-3 --from 0 run.ds  what an export of that would hold\n",
                      [options] { return runInfo(*options); });
  addDatasets(command, options->datasets);
  command->add_flag("--json", options->json, "everything, as JSON");
  addNoIdentity(command, options->reading);
  addSelection(command, options->samples);
  addProcessing(command, options->samples);
  addMemory(command);
  addReading(command, options->reading);
}

void addTables(Definitions& definitions) {
  const auto [channels, shown] =
      addTable(definitions, "channels", "List channels with their kind, unit and gain",
               "  ctfmeg channels run.ds\n"
               "  ctfmeg channels --channels 'MLC*' run.ds    some channels, by name\n"
               "  ctfmeg channels --channels ref,stim run.ds  or by kind\n"
               "  ctfmeg channels --csv run.ds > run.csv      for a spreadsheet\n",
               "leave out what can name a person (paths)", runChannels);
  addChannelSelection(channels, shown->shown);
  addTable(definitions, "markers", "List markers with the trials and times at which they occur",
           "  ctfmeg markers run.ds\n"
           "  ctfmeg markers --csv run.ds > run.csv  for a spreadsheet\n",
           "leave out what can name a person (paths; marker names stay)", runMarkers);
  addTable(definitions, "headcoils", "List head-coil positions: x right, y front, z up, in mm",
           "  ctfmeg headcoils run.ds\n"
           "  ctfmeg headcoils --csv run.ds > run.csv  for a spreadsheet\n",
           "leave out what can name a person (paths)", runHeadCoils);
  const auto [stats, judged] =
      addTable(definitions, "stats", "Say what the samples of each channel are like, and which look faulty",
               "  ctfmeg stats run.ds\n"
               "  ctfmeg stats --channels meg --from 0 run.ds  of some samples\n"
               "  ctfmeg stats --csv a.ds b.ds > stats.csv     for a spreadsheet\n",
               "leave out what can name a person (paths)", runStats);
  addSignalLimits(stats, judged->limits);
  addThreads(stats, judged->reading.threads);
  addSelection(stats, judged->shown);
  addProcessing(stats, judged->shown);
  const auto [events, found] =
      addTable(definitions, "events", "List changes of stimulus channels, and compare them with a marker",
               "  ctfmeg events run.ds\n"
               "  ctfmeg events --mask 0xff run.ds             the lower eight lines\n"
               "  ctfmeg events --compare-markers tone run.ds  whether a marker agrees\n"
               "  ctfmeg events --csv run.ds > events.csv      for a spreadsheet\n",
               "leave out what can name a person (paths; marker names stay)", runEvents);
  addStimulus(events, found->changes);
  events
      ->add_option("--compare-markers", found->marker,
                   "which of them agree with the occurrences of a marker, to within 50 ms")
      ->type_name("NAME");
  addThreads(events, found->reading.threads);
  addSelection(events, found->shown);
  addChannelNames(events, found->shown);
}

}  // namespace ctfmeg::cli
