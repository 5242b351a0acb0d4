#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "cli/commands.h"
#include "cli/messages.h"
#include "cli/selection.h"
#include "output/visible_text.h"

namespace ctfmeg::cli {
namespace {

constexpr const char* kExamples = R"(  ctfmeg info run.ds                        what the recording is
  ctfmeg info --json a.ds b.ds              all that its header says, for scripts
  ctfmeg channels --channels 'MLC*' run.ds  some channels
  ctfmeg markers --csv run.ds               events, for a spreadsheet
  ctfmeg export run.ds -o run.npy           samples for NumPy: trials x channels x samples
  ctfmeg export run.ds --physical -o - | python3 analyse.py
  ctfmeg export run.ds --samples 0:599 -o start.npy    only part of each trial
  ctfmeg export run.ds --trials 0,2,5-7 -o some.npy    only some trials
  ctfmeg export run.ds --marker tone -o tone.npy       only trials with an event
  ctfmeg scan --csv recordings              every dataset below a folder, a line each
  ctfmeg check run.ds                       what is wrong or odd, in plain words
  ctfmeg simulate test.ds --trials 10       a dataset to try things on
)";

constexpr const char* kDatasetHelp = "a .ds directory or a file of a dataset";

void addReading(CLI::App* command, ReadingOptions& options) {
  command
      ->add_option_function<std::string>(
          "--rules",
          [&options](const std::string& name) {
            options.rules = name == "host" ? Rules::host : Rules::plain;
          },
          "plain (what the files say) or host (to the letter as hosts read)")
      ->check(CLI::IsMember({"plain", "host"}).description(""))
      ->default_str("plain")
      ->type_name("plain|host");
  auto* yes = command->add_flag("--yes", options.yes, "answer the reader's questions with Yes");
  command->add_flag("--no", options.no, "answer them with No")->excludes(yes);
  command->add_flag("--quiet", options.quiet, "no progress, no remarks");
  command->add_flag("--strict", options.strict, "a warning makes the exit code 1");
}

/// Older scripts give these. What the samples need is decided by what is read.
void addMemory(CLI::App* command) {
  const auto ignore = [](const std::string& /*value*/) {};
  command->add_option_function<std::string>("--memory", ignore, "changes nothing; kept for older scripts")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::PositiveNumber.description(""))
      ->type_name("SIZE");
  command->add_option_function<std::string>("--spill", ignore, "changes nothing; kept for older scripts")
      ->type_name("DIR");
}

CLI::Option* addDatasets(CLI::App* command, std::vector<std::string>& datasets) {
  return command->add_option("DATASET", datasets, kDatasetHelp)->required()->type_name("");
}

/// At most one of these.
template <class Target>
void addSelection(CLI::App* command, Target& selection) {
  auto* group = command->add_option_group("Selection", "which samples are read (one of these)");
  group->require_option(0, 1);
  const auto add = [&](const char* name, const char* type, const char* help, auto parse, auto member) {
    const auto keep = [&selection, parse, member](const std::string& text) {
      Selection chosen;
      chosen.*member = *parse(text);
      selection = std::move(chosen);
    };
    group->add_option_function<std::string>(name, keep, help)
        ->check(
            [parse](const std::string& text) { return parse(text) ? "" : "can't be understood: " + text; })
        ->type_name(type);
  };
  add("--resample", "N", "every N-th sample of each trial", parseCount, &Selection::step);
  add("--samples", "FIRST:LAST", "samples FIRST to LAST of each trial, counted from 0", parseSpan,
      &Selection::samples);
  add("--split", "N", "each trial as N shorter ones", parseCount, &Selection::pieces);
  add("--trials", "LIST", "trials by number, counted from 0 (0,2,5-7)", parseTrials, &Selection::trials);
  const auto anyName = [](const std::string& text) { return std::optional(text); };
  add("--marker", "NAME", "the trials that carry the first marker of that name", anyName, &Selection::marker);
}

void addChannels(CLI::App* command, std::optional<std::string>& channels) {
  command->add_option("--channels", channels, "full names, short names or patterns, comma-separated (MLC*)")
      ->type_name("LIST");
}

/// The command line for CLI11, which wants it in reverse. It takes a path in brackets for a list of several,
/// so such a path is given as one that begins with its folder.
std::vector<std::string> argumentsOf(std::vector<std::string> arguments) {
  std::string before;
  for (std::string& argument : arguments) {
    const bool isValue = before == "--channels" || before == "--marker";
    before = argument;
    if (!isValue && argument.starts_with('[') && argument.ends_with(']')) argument.insert(0, "./");
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

/// The command line and what it fills in. One command runs at a time, so its exit code is the
/// program's.
class Definitions {
 public:
  Definitions();
  CLI::App& app() { return m_app; }
  int exitCode() const { return m_exitCode; }

 private:
  CLI::App* add(const char* name, const char* help, const std::function<int()>& run);
  void addInfo();
  CLI::App* addTable(const char* name, const char* help, const char* identity, TableOptions& options,
                     int (*run)(const TableOptions&));
  void addExport();
  void addScan();
  void addCheck();
  void addSimulate();

  CLI::App m_app{"Reads MEG recordings made on CTF systems.", "ctfmeg"};
  InfoOptions m_info;
  TableOptions m_channels, m_markers, m_headCoils;
  ExportOptions m_export;
  ScanOptions m_scan;
  CheckOptions m_check;
  SimulateOptions m_simulate;
  int m_exitCode = kDone;
};

Definitions::Definitions() {
  m_app.allow_windows_style_options(false);  // "/" begins a path there, too
  m_app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "ctfmeg: " + output::visible(error.what()) + "\nctfmeg: run it with --help to see what there is\n";
  });
  m_app.footer("\nExamples:\n" + std::string(kExamples));
  m_app.set_version_flag("--version", "ctfmeg " CTFMEG_VERSION);
  m_app.require_subcommand(1);
  addInfo();
  addChannels(
      addTable("channels", "List channels with their kind, unit and gain",
               "leave out what can name a person (nothing in this table does)", m_channels, runChannels),
      m_channels.channels);
  addTable("markers", "List markers with the trials and times at which they occur",
           "leave out what can name a person (paths; marker names stay)", m_markers, runMarkers);
  addTable("headcoils", "List head-coil positions: x right, y front, z up, in mm",
           "leave out what can name a person (paths)", m_headCoils, runHeadCoils);
  addExport();
  addScan();
  addCheck();
  addSimulate();
}

CLI::App* Definitions::add(const char* name, const char* help, const std::function<int()>& run) {
  CLI::App* command = m_app.add_subcommand(name, help);
  command->callback([this, run] { m_exitCode = run(); });
  return command;
}

void Definitions::addInfo() {
  auto* command =
      add("info", "Show what recordings are, from their headers", [this] { return runInfo(m_info); });
  addDatasets(command, m_info.datasets);
  command->add_flag("--json", m_info.json, "everything, as JSON");
  command->add_flag("--no-identity", m_info.reading.noIdentity, "leave out what can name a person");
  addSelection(command, m_info.selection);
  addMemory(command);
  addReading(command, m_info.reading);
}

CLI::App* Definitions::addTable(const char* name, const char* help, const char* identity,
                                TableOptions& options, int (*run)(const TableOptions&)) {
  auto* command = add(name, help, [&options, run] { return run(options); });
  addDatasets(command, options.datasets);
  command->add_flag("--csv", options.csv, "as CSV");
  command->add_flag("--no-identity", options.reading.noIdentity, identity);
  addReading(command, options.reading);
  return command;
}

void Definitions::addExport() {
  auto* command = add("export", "Write samples as a NumPy array", [this] { return runExport(m_export); });
  command->add_option("DATASET", m_export.dataset, kDatasetHelp)->required()->type_name("");
  command->add_option("-o,--output", m_export.output, "file to write; - for standard output")
      ->required()
      ->check([](const std::string& name) { return std::string(name.empty() ? "must name a file" : ""); })
      ->type_name("FILE");
  command->add_flag("--physical", m_export.physical, "in tesla, volt and seconds (float64), not raw (int32)");
  addChannels(command, m_export.channels);
  addSelection(command, m_export.selection);
  addMemory(command);
  addReading(command, m_export.reading);
}

void Definitions::addScan() {
  auto* command =
      add("scan", "List every dataset below a directory, from headers", [this] { return runScan(m_scan); });
  command->add_option("DIRECTORY", m_scan.directory, "where to look, at any depth")
      ->required()
      ->type_name("");
  auto* csv = command->add_flag("--csv", m_scan.csv, "as CSV");
  command->add_flag("--json", m_scan.json, "as JSON")->excludes(csv);
  command->add_flag("--no-identity", m_scan.reading.noIdentity, "leave out what can name a person");
  addReading(command, m_scan.reading);
}

void Definitions::addCheck() {
  auto* command = add("check", "Read all of a dataset and list what is wrong or odd",
                      [this] { return runCheck(m_check); });
  command->add_option("DATASET", m_check.dataset, kDatasetHelp)->required()->type_name("");
  command->add_flag("--json", m_check.json, "as JSON");
  command->add_flag("--no-identity", m_check.reading.noIdentity, "leave out what can name a person");
  addMemory(command);
  addReading(command, m_check.reading);
}

void Definitions::addSimulate() {
  auto* command = add("simulate", "Write a simulated dataset", [this] { return runSimulate(m_simulate); });
  simulate::Options& dataset = m_simulate.dataset;
  command->add_option("OUT.ds", m_simulate.directory, "directory to make; must not exist")
      ->required()
      ->type_name("");
  command->add_option("--channels", dataset.channels, "channels in all")->capture_default_str();
  command->add_option("--trials", dataset.trials, "trials")->capture_default_str();
  command->add_option("--samples", dataset.samples, "samples a trial")->capture_default_str();
  command->add_option("--rate", dataset.rate, "samples a second")->type_name("HZ")->capture_default_str();
  command->add_option("--pretrigger", dataset.preTrigger, "samples before the trigger")
      ->capture_default_str();
  command->add_option("--seed", dataset.seed, "the same seed gives the same bytes")->capture_default_str();
  command->add_option("--split-after", dataset.splitAfter, "trials in each sample file (0: as many as fit)")
      ->type_name("TRIALS")
      ->capture_default_str();
  command->add_flag("--quiet", m_simulate.quiet, "no progress");
}

bool namesNoCommand(CLI::App& app, const std::string& first) {
  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  return !first.starts_with('-') &&
         std::none_of(commands.begin(), commands.end(),
                      [&](const CLI::App* command) { return command->get_name() == first; });
}

PageOption describeOption(const CLI::Option& option) {
  PageOption described;
  for (const std::string& name : option.get_snames())
    described.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames())
    described.names.push_back("--" + name);
  described.help = option.get_description();
  described.standard = option.get_default_str();
  described.required = option.get_required();
  described.several = option.get_expected_max() > 1;
  const bool flag = option.get_type_size_max() == 0;
  described.value = option.get_positional() ? option.get_name(true) : flag ? "" : option.get_type_name();
  return described;
}

/// The options of a group, which is an application without a name, are listed among the others.
void describeInto(Page& page, const CLI::App& app) {
  for (const CLI::Option* option : app.get_options())
    if (!app.get_name().empty() || option != app.get_help_ptr())
      (option->get_positional() ? page.arguments : page.options).push_back(describeOption(*option));
  for (const CLI::App* part : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (part->get_name().empty()) {
      describeInto(page, *part);
    } else {
      Page command{part->get_name(), part->get_description(), {}, {}, {}, {}};
      describeInto(command, *part);
      page.commands.push_back(std::move(command));
    }
  }
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments) {
  Definitions definitions;
  CLI::App& app = definitions.app();
  if (!arguments.empty() && namesNoCommand(app, arguments.front())) {
    say("", "there is no command " + arguments.front() + "; run it with --help to see what there is");
    return kWrongUsage;
  }
  try {
    app.parse(argumentsOf(arguments));
  } catch (const CLI::ParseError& error) {
    if (app.exit(error, std::cout, std::cerr) != 0) return kWrongUsage;
    finishOutput();
  }
  return definitions.exitCode();
}

Page describeCommandLine() {
  Definitions definitions;
  Page page{definitions.app().get_name(), definitions.app().get_description(), {}, {}, {}, kExamples};
  describeInto(page, definitions.app());
  return page;
}

}  // namespace ctfmeg::cli
