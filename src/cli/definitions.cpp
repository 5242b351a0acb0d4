#include "cli/definitions.h"

namespace ctfmeg::cli {

Definitions::Definitions() {
  m_app.allow_windows_style_options(false);  // "/" begins a path there, too
  m_app.set_version_flag("--version", "ctfmeg " CTFMEG_VERSION);
  m_app.require_subcommand(1);
  addInfo(*this);
  addTables(*this);
  addExport(*this);
  addScan(*this);
  addCheck(*this);
  addSimulate(*this);
}

CLI::App* Definitions::add(const char* name, const char* summary, const char* examples,
                           std::function<int()> run) {
  CLI::App* command = m_app.add_subcommand(name, summary);
  command->footer("\nExamples:\n" + std::string(examples));
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
      ->check(CLI::IsMember({"plain", "host"}).description(""))
      ->default_str("plain")
      ->type_name("plain|host");
  auto* yes = command->add_flag("--yes", options.yes, "answer the reader's questions with Yes");
  command->add_flag("--no", options.no, "answer them with No")->excludes(yes);
  command->add_flag("--quiet", options.quiet, "no progress, no remarks");
  command->add_flag("--strict", options.strict, "a warning makes the exit code 1");
}

void addMemory(CLI::App* command) {
  const auto ignore = [](const std::string& /*value*/) {};
  command->add_option_function<std::string>("--memory", ignore, "changes nothing; kept for older scripts")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::PositiveNumber.description(""))
      ->type_name("SIZE");
  command->add_option_function<std::string>("--spill", ignore, "changes nothing; kept for older scripts")
      ->type_name("DIR");
}

}  // namespace ctfmeg::cli
