#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <new>

#include "cli/commands.h"
#include "cli/process.h"
#include "cli/route.h"
#include "cli/say.h"
#include "cli/visible_text.h"
#include "ui/terminal.h"

namespace {

using namespace ctfmeg;
using namespace ctfmeg::cli;

constexpr const char* kExamples = R"(
Examples:
  ctfmeg info run.ds                        what the recording is
  ctfmeg info --json a.ds b.ds              all that its header says, for scripts
  ctfmeg channels --channels 'MLC*' run.ds  some channels
  ctfmeg markers --csv run.ds               events, for a spreadsheet
  ctfmeg export run.ds -o run.npy           samples for NumPy: trials x channels x samples
  ctfmeg export run.ds --physical -o - | python3 analyse.py
  ctfmeg export run.ds --samples 0:599 -o start.npy    only part of each trial
  ctfmeg export run.ds --trials 0,2,5-7 -o some.npy    only some trials
  ctfmeg export run.ds --marker tone -o tone.npy       only trials with an event
  ctfmeg simulate test.ds --trials 10       a dataset to try things on
)";

void addReading(CLI::App* command, ReadingOptions& options) {
  command
      ->add_option_function<std::string>(
          "--rules",
          [&options](const std::string& name) {
            options.rules = name == "host" ? Rules::host : Rules::plain;
          },
          "plain (what the files say) or host (to the letter what hosts get)")
      ->check(CLI::IsMember({"plain", "host"}).description(""))
      ->default_str("plain")
      ->type_name("RULES");
  auto* yes = command->add_flag("--yes", options.yes, "answer the reader's questions with Yes");
  command->add_flag("--no", options.no, "answer them with No")->excludes(yes);
  command->add_flag("--quiet", options.quiet, "no progress, no remarks");
  command->add_flag("--strict", options.strict, "a warning makes the exit code 1");
}

void addMemory(CLI::App* command, ReadingOptions& options) {
  command
      ->add_option("--memory", options.memory,
                   "how much of the samples to keep in memory, such as 4G (default: half of what there is)")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::PositiveNumber.description(""))
      ->type_name("SIZE");
  command
      ->add_option("--spill", options.spillFolder,
                   "folder for the rest, in a file that nobody else can open (default: /var/tmp; on Windows "
                   "the folder for temporary files)")
      ->type_name("DIR");
}

CLI::Option* addDatasets(CLI::App* command, std::vector<std::string>& datasets) {
  return command->add_option("DATASET", datasets, "a .ds directory or a file of a dataset")
      ->required()
      ->type_name("");
}

/// At most one of these: routes can't be combined.
void addRoutes(CLI::App* command, std::optional<Route>& route) {
  auto* routes = command->add_option_group("Routes", "which samples are read (one of these)");
  routes->require_option(0, 1);
  const auto add = [&](const char* name, const char* type, const char* help, auto parse) {
    routes
        ->add_option_function<std::string>(
            name, [&route, parse](const std::string& text) { route = *parse(text); }, help)
        ->check(
            [parse](const std::string& text) { return parse(text) ? "" : "can't be understood: " + text; })
        ->type_name(type);
  };
  add("--resample", "N", "every N-th sample of each trial", parseEveryNth);
  add("--samples", "FIRST:LAST", "samples FIRST to LAST of each trial, counted from 0", parseSpan);
  add("--split", "N", "each trial as N shorter ones", parsePieces);
  add("--trials", "LIST", "trials by number, counted from 0 (0,2,5-7)", parseTrials);
  routes->add_flag_callback(
      "--ask-resample", [&route] { route = AskToResample{}; },
      "all of them, or every N-th: asked for more than 400 MB");
  add("--marker", "NAME", "the trials that carry the first marker of that name", parseMarker);
}

void addChannels(CLI::App* command, std::optional<std::string>& channels) {
  command->add_option("--channels", channels, "full names, short names or patterns, comma-separated (MLC*)")
      ->type_name("LIST");
}

/// The command line for CLI11, which wants it in reverse. It takes a path in brackets for a list of several,
/// so such a path is given as one that begins with its folder.
std::vector<std::string> argumentsOf(std::vector<std::string> arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool bracketed = arguments[i].starts_with('[') && arguments[i].ends_with(']');
    if (bracketed && (i == 0 || arguments[i - 1] != "--channels")) arguments[i] = "./" + arguments[i];
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

int run(const std::vector<std::string>& arguments) {
  CLI::App app("Reads MEG recordings made on CTF systems.", "ctfmeg");
  app.allow_windows_style_options(false);  // "/" begins a path there, too
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "ctfmeg: " + visible(error.what()) + "\nctfmeg: run it with --help to see what there is\n";
  });
  app.footer(kExamples);
  app.set_version_flag("--version", "ctfmeg " CTFMEG_VERSION);
  app.require_subcommand(1);
  int exitCode = kDone;

  InfoOptions info;
  auto* infoCommand = app.add_subcommand("info", "Show what recordings are, from their headers");
  addDatasets(infoCommand, info.datasets);
  infoCommand->add_flag("--json", info.json, "everything, as JSON");
  infoCommand->add_flag("--no-identity", info.reading.noIdentity, "leave out what can name a person");
  addRoutes(infoCommand, info.route);
  addMemory(infoCommand, info.reading);
  addReading(infoCommand, info.reading);
  infoCommand->callback([&] { exitCode = runInfo(info); });

  ChannelsOptions channels;
  auto* channelsCommand = app.add_subcommand("channels", "List channels with their kind, unit and gain");
  addDatasets(channelsCommand, channels.datasets);
  channelsCommand->add_flag("--csv", channels.csv, "as CSV");
  channelsCommand->add_flag("--no-identity", channels.reading.noIdentity,
                            "leave out what can name a person (nothing in this table does)");
  addChannels(channelsCommand, channels.channels);
  addReading(channelsCommand, channels.reading);
  channelsCommand->callback([&] { exitCode = runChannels(channels); });

  const auto addTable = [&](const char* name, const char* help, const char* identity, TableOptions& options,
                            int (*run)(const TableOptions&)) {
    auto* command = app.add_subcommand(name, help);
    addDatasets(command, options.datasets);
    command->add_flag("--csv", options.csv, "as CSV");
    command->add_flag("--no-identity", options.reading.noIdentity, identity);
    addReading(command, options.reading);
    command->callback([&, run] { exitCode = run(options); });
  };
  TableOptions markers, headCoils;
  addTable("markers", "List markers with the trials and times at which they occur",
           "leave out what can name a person (paths; marker names stay)", markers, runMarkers);
  addTable("headcoils", "List head-coil positions: x right, y front, z up, in mm",
           "leave out what can name a person (paths)", headCoils, runHeadCoils);

  ExportOptions exported;
  auto* exportCommand = app.add_subcommand("export", "Write samples as a NumPy array");
  exportCommand->add_option("DATASET", exported.dataset, "a .ds directory or a file of a dataset")
      ->required()
      ->type_name("");
  exportCommand->add_option("-o,--output", exported.output, "file to write; - for standard output")
      ->required()
      ->check([](const std::string& name) { return std::string(name.empty() ? "must name a file" : ""); })
      ->type_name("FILE");
  exportCommand->add_flag("--physical", exported.physical,
                          "in tesla, volt and seconds (float64), not raw (int32)");
  addChannels(exportCommand, exported.channels);
  addRoutes(exportCommand, exported.route);
  addMemory(exportCommand, exported.reading);
  addReading(exportCommand, exported.reading);
  exportCommand->callback([&] { exitCode = runExport(exported); });

  std::string directory;
  simulate::Options simulated;
  bool quiet = false;
  auto* simulateCommand = app.add_subcommand("simulate", "Write a simulated dataset");
  simulateCommand->add_option("OUT.ds", directory, "directory to make; must not exist")
      ->required()
      ->type_name("");
  simulateCommand->add_option("--channels", simulated.channels, "channels in all")->capture_default_str();
  simulateCommand->add_option("--trials", simulated.trials, "trials")->capture_default_str();
  simulateCommand->add_option("--samples", simulated.samples, "samples a trial")->capture_default_str();
  simulateCommand->add_option("--rate", simulated.rate, "samples a second")
      ->type_name("HZ")
      ->capture_default_str();
  simulateCommand->add_option("--pretrigger", simulated.preTrigger, "samples before the trigger")
      ->capture_default_str();
  simulateCommand->add_option("--seed", simulated.seed, "the same seed gives the same bytes")
      ->capture_default_str();
  simulateCommand
      ->add_option("--split-after", simulated.splitAfter, "trials in each sample file (0: as many as fit)")
      ->type_name("TRIALS")
      ->capture_default_str();
  simulateCommand->add_flag("--quiet", quiet, "no progress");
  simulateCommand->callback([&] { exitCode = runSimulate(directory, simulated, quiet); });

  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  const std::string first = arguments.empty() ? "-" : arguments.front();
  const auto isNamed = [&first](const CLI::App* command) { return command->get_name() == first; };
  if (!first.starts_with('-') && std::none_of(commands.begin(), commands.end(), isNamed)) {
    say("", "there is no command " + first + "; run it with --help to see what there is");
    return kWrongUsage;
  }
  try {
    app.parse(argumentsOf(arguments));
  } catch (const CLI::ParseError& error) {
    if (app.exit(error, std::cout, std::cerr) != 0) return kWrongUsage;
    finishOutput();
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
  stopWaitingWhen(interrupted);
  try {
    return run(programArguments(argc, argv));
  } catch (const Interrupted&) {
    return kInterrupted;
  } catch (const CommandError& error) {
    say(error.path(), error.what());
  } catch (const std::bad_alloc&) {
    say("", "there is not enough memory");
  } catch (const std::exception& error) {
    say("", error.what());
  }
  return kFailed;
}
