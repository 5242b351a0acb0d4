#include "cli/definitions.h"

#include "cli/selection.h"

#include <iostream>
#include <memory>

#include "cli/help_layout.h"
#include "cli/messages.h"

namespace ctfmeg::cli {
namespace {

constexpr const char* kExamples =
    "  ctfmeg info run.ds                    what the recording is\n"
    "  ctfmeg channels run.ds                its channels\n"
    "  ctfmeg markers --csv run.ds           its markers, for a spreadsheet\n"
    "  ctfmeg events run.ds                  changes of its stimulus channels\n"
    "  ctfmeg export run.ds -o run.npy       its samples, for NumPy\n"
    "  ctfmeg scan recordings                every dataset below a folder\n"
    "  ctfmeg check run.ds                   what is wrong or odd, in plain words\n"
    "  ctfmeg rename run.ds other.ds         a copy under another name\n"
    "  ctfmeg anonymise run.ds 01.ds         a copy without what can name a person\n"
    "  ctfmeg crop run.ds part.ds --trials 0 a part of it as a dataset\n"
    "  ctfmeg mark run.ds --bad MLC11        what is not to be used\n"
    "  ctfmeg bids run.ds study --subject 01 --task rest  a copy in a BIDS study\n"
    "  ctfmeg simulate test.ds --trials 10   a dataset to try things on\n"
    "  ctfmeg help export                    what a command takes, with examples\n";

}  // namespace

Definitions::Definitions() {
  m_app.allow_windows_style_options(false);  // "/" begins a path there, too
  m_app.formatter(std::make_shared<HelpLayout>());
  m_app.footer(kExamples);
  m_app.set_help_flag("-h,--help", "show this help");
  m_app.set_version_flag("--version", "ctfmeg " CTFMEG_VERSION, "show the version");
  m_app.require_subcommand(1);
  addInfo(*this);
  addTables(*this);
  addExport(*this);
  addScan(*this);
  addCheck(*this);
  addEdit(*this);
  addSimulate(*this);
  addHelp();
}

void Definitions::addHelp() {
  const auto name = std::make_shared<std::string>();
  auto* help =
      add("help", "Show what a command takes", "  ctfmeg help\n  ctfmeg help export\n", [this, name] {
        const CLI::App* asked = &m_app;
        std::string called = m_app.get_name();
        if (!name->empty()) {
          asked = commandNamed(m_app, *name);
          if (asked == nullptr) throw UsageError(unknownCommand(m_app, *name));
          called += " " + asked->get_name();
        }
        std::cout << m_app.get_formatter()->make_help(asked, called, CLI::AppFormatMode::Normal);
        finishOutput();
        return kDone;
      });
  help->add_option("COMMAND", *name, "the command; without one, what commands there are")->type_name("");
}

CLI::App* Definitions::add(const char* name, const char* summary, const char* examples,
                           std::function<int()> run) {
  CLI::App* command = m_app.add_subcommand(name, summary);
  command->group("Commands");
  command->footer(examples);
  command->callback([this, run = std::move(run)] { m_exitCode = run(); });
  return command;
}

void addDatasets(CLI::App* command, std::vector<std::string>& datasets) {
  command->add_option("DATASET", datasets, kDatasetHelp)->required()->type_name("");
}

void addNoIdentity(CLI::App* command, ReadingOptions& options, const char* help) {
  command->add_flag("--no-identity", options.noIdentity, help);
}

void addForm(CLI::App* command, output::TableForm& form) {
  const auto add = [&](const char* name, output::TableForm value, const char* text) {
    return command->add_flag_callback(
        name, [&form, value] { form = value; }, text);
  };
  auto* csv = add("--csv", output::TableForm::csv, "as CSV");
  add("--json", output::TableForm::json, "as JSON: an array with an object for each row")->excludes(csv);
}

void addReading(CLI::App* command, ReadingOptions& options) {
  command
      ->add_option_function<std::string>(
          "--rules",
          [&options](const std::string& name) {
            options.rules = name == "host" ? Rules::host : Rules::plain;
          },
          "plain (what the files say) or host (to the letter as hosts read)")
      ->check(oneOf({"plain", "host"}))
      ->default_str("plain")
      ->type_name("plain|host");
  auto* yes = command->add_flag("--yes", options.yes, "answer the reader's questions with Yes");
  command->add_flag("--no", options.no, "answer them with No")->excludes(yes);
  command->add_flag("--quiet", options.quiet, "no progress, no remarks");
  command->add_flag("--strict", options.strict, "a warning makes the exit code 1");
}

CLI::Option* addCount(CLI::App* command, const char* name, int& count, const char* help) {
  return command->add_option(name, count, help)->check(numberFrom(1, 1024))->type_name("N");
}

void addThreads(CLI::App* command, int& threads) {
  addCount(command, "--threads", threads, "threads that read (default: as many as may be used and pay)");
}

std::vector<CLI::Option*> addSignalLimits(CLI::App* command, SignalLimits& limits) {
  const auto add = [command](const char* name, const char* type, double& limit, const char* help) {
    return command->add_option(name, limit, help)
        ->check([](const std::string& text) {
          const auto number = parseSeconds(text);
          return number && *number > 0.0 ? "" : mustBe("a number above 0", text);
        })
        ->type_name(type)
        ->capture_default_str();
  };
  return {add("--flat", "S", limits.flatSeconds, "a channel is flat that does not change for S seconds"),
          add("--clip", "N", limits.pileUp,
              "it is clipped where its outermost value is N times as often as the next one"),
          add("--jump", "N", limits.jump, "it jumps where a step is N times as large as usual"),
          add("--noise", "N", limits.noise, "it is noisy at more than N times the noise of its kind")};
}

void addStimulus(CLI::App* command, StimulusOptions& options) {
  command
      ->add_option_function<std::string>(
          "--mask", [&options](const std::string& text) { options.mask = *parseBits(text); },
          "the bits of a value that count, as a number (255 or 0xff; default: all 32)")
      ->check([](const std::string& text) {
        return parseBits(text) ? "" : mustBe("a number of at most 32 bits such as 255 or 0xff", text);
      })
      ->type_name("BITS");
  command
      ->add_option_function<std::string>(
          "--edges",
          [&options](const std::string& text) {
            options.edge = text == "both" ? Edge::both : text == "falling" ? Edge::falling : Edge::rising;
          },
          "changes to a greater value, to a smaller one, or both")
      ->check(oneOf({"rising", "falling", "both"}))
      ->default_str("rising")
      ->type_name("rising|falling|both");
}

void addMemory(CLI::App* command) {
  const auto ignore = [](const std::string& /*value*/) {};
  command->add_option_function<std::string>("--memory", ignore, "changes nothing; kept for older scripts")
      ->check([](std::string text) {
        const std::string given = text;
        try {
          if (CLI::AsSizeValue(false)(text).empty() && CLI::PositiveNumber(text).empty())
            return std::string();
        } catch (const CLI::ValidationError&) {  // thrown for a unit that it does not know
        }
        return mustBe("a size such as 500MB", given);
      })
      ->type_name("SIZE");
  command->add_option_function<std::string>("--spill", ignore, "changes nothing; kept for older scripts")
      ->type_name("DIR");
}

}  // namespace ctfmeg::cli
