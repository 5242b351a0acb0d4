#include "cli/command_line.h"

#include <algorithm>
#include <iostream>

#include "cli/definitions.h"
#include "cli/messages.h"
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
  app.footer("\nExamples:\n" + std::string(kExamples));
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "ctfmeg: " + output::visible(error.what()) + "\nctfmeg: run it with --help to see what there is\n";
  });
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
