#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <deque>
#include <iostream>
#include <type_traits>

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

/// Adds options that a selection is made of, to one command.
class SelectionDefinition {
 public:
  SelectionDefinition(CLI::App* command, SelectionOptions& options)
      : m_command(command), m_options(options) {}

  void addAll() {
    add("--trials", "LIST", "trials by number, counted from 0 (0,2,5-7)", parseTrials, &Selection::trials);
    add("--marker", "NAMES", "the trials that carry one of these markers (comma-separated)", parseNames,
        &Selection::markers);
    auto* samples = add("--samples", "FIRST:LAST",
                        "samples FIRST to LAST of each trial, counted from 0; of the run with --continuous",
                        parseSpan, &Selection::samples);
    const auto addTime = [&](const char* name, const char* help, std::optional<double> TimeSpan::*end) {
      add(name, "S", help, parseSeconds, [end](Selection& selection, double seconds) {
        if (!selection.seconds) selection.seconds.emplace();
        *selection.seconds.*end = seconds;
      })->excludes(samples);
    };
    addTime("--from", "from S seconds after the trigger on; of the run's start with --continuous",
            &TimeSpan::from);
    addTime("--to", "up to S seconds after it", &TimeSpan::to);
    auto* split = add("--split", "N", "each trial as N shorter ones", parseCount, &Selection::pieces);
    auto* continuous = m_command
                           ->add_flag_callback(
                               "--continuous", [this] { keep("--continuous", "").continuous = true; },
                               "the trials as one run: channels x samples")
                           ->excludes(split);
    add("--gaps", "nan|cut", "where trials of a run do not adjoin: fill with NaN, or put them together",
        parseGaps, [](Selection& selection, Gaps gaps) { selection.gaps = gaps; })
        ->needs(continuous);
    add("--resample", "N", "every N-th sample, not filtered", parseCount, &Selection::step);
    addChannels();
    m_command
        ->add_flag("--partial", m_partial,
                   "a last trial that is cut short counts: what it lacks is NaN, or with =drop left out")
        ->check([](const std::string& how) {
          return how == "true" || how == "nan" || how == "drop" ? "" : "must be nan or drop, not " + how;
        })
        ->each([this](const std::string& how) {
          keep("--partial", how == "drop" ? how : "nan").partial =
              how == "drop" ? Partial::drop : Partial::fill;
        });
  }

  void addChannels() {
    add("--channels", "LIST", "names, patterns (MLC*) or kinds (meg, ref, eeg, stim), comma-separated",
        parseNames, &Selection::channels);
    add("--exclude", "LIST", "channels to leave out, likewise; bad: those marked as bad", parseNames,
        [](Selection& selection, std::vector<std::string> names) { selection.exclude = std::move(names); });
  }

 private:
  static std::optional<Gaps> parseGaps(const std::string& text) {
    if (text == "nan") return Gaps::fill;
    return text == "cut" ? std::optional(Gaps::cut) : std::nullopt;
  }

  Selection& keep(const std::string& name, const std::string& text) {
    m_options.asked.emplace_back(name.substr(2), text);
    return m_options.selection;
  }

  /// `set` is a member of Selection, or a function that sets one.
  template <class Parse, class Set>
  CLI::Option* add(const char* name, const char* type, const char* help, Parse parse, Set set) {
    const auto take = [this, name, parse, set](const std::string& text) {
      Selection& selection = keep(name, text);
      if constexpr (std::is_member_object_pointer_v<Set>)
        selection.*set = *parse(text);
      else
        set(selection, *parse(text));
    };
    return m_command->add_option_function<std::string>(name, take, help)
        ->check(
            [parse](const std::string& text) { return parse(text) ? "" : "can't be understood: " + text; })
        ->type_name(type);
  }

  CLI::App* m_command;
  SelectionOptions& m_options;
  std::string m_partial;
};

/// The command line for CLI11, which wants it in reverse. It takes a path in brackets for a list of several,
/// so such a path is given as one that begins with its folder.
std::vector<std::string> argumentsOf(std::vector<std::string> arguments) {
  std::string before;
  for (std::string& argument : arguments) {
    const bool isValue = before == "--channels" || before == "--exclude" || before == "--marker";
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
  std::deque<SelectionDefinition> m_selections;
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
  m_selections
      .emplace_back(
          addTable("channels", "List channels with their kind, unit and gain",
                   "leave out what can name a person (nothing in this table does)", m_channels, runChannels),
          m_channels.shown)
      .addChannels();
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
  m_selections.emplace_back(command, m_info.samples).addAll();
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
  auto* command = add("export", "Write samples as NumPy arrays", [this] {
    if (const std::string problem = problemOf(m_export); !problem.empty())
      throw CLI::ValidationError("export", problem);
    return runExport(m_export);
  });
  addDatasets(command, m_export.datasets);
  auto* output =
      command->add_option("-o,--output", m_export.output, "file to write (.npy); - for standard output")
          ->type_name("FILE");
  auto* directory = command
                        ->add_option("--output-dir", m_export.outputDirectory,
                                     "folder to write a file into for each dataset, named after it")
                        ->excludes(output)
                        ->type_name("DIR");
  const auto addCount = [command](const char* name, int& count, const char* help) {
    return command->add_option(name, count, help)->check(CLI::Range(1, 1024).description(""))->type_name("N");
  };
  addCount("--jobs", m_export.jobs, "datasets at once")->needs(directory);
  command
      ->add_flag("--skip-existing", m_export.skipExisting, "leave out datasets whose file is there already")
      ->needs(directory);
  command->add_flag_callback(
      "--no-description", [this] { m_export.description = false; },
      "write no FILE.json, which says what the array is");
  command->add_flag("--physical", m_export.physical, "in tesla, volt and seconds (float64), not raw (int32)");
  command
      ->add_option_function<std::string>(
          "--dtype", [this](const std::string& name) { m_export.type = *valueTypeOf(name); },
          "type of the values")
      ->check([](const std::string& name) {
        return valueTypeOf(name) ? "" : "must be int32, float32 or float64, not " + name;
      })
      ->type_name("TYPE");
  addCount("--threads", m_export.threads, "threads that read (default: as many as may be used and pay)");
  m_selections.emplace_back(command, m_export.samples).addAll();
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
