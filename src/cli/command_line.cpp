#include "cli/command_line.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

#include "cli/definitions.h"
#include "cli/help_layout.h"
#include "cli/messages.h"
#include "cli/usage.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

/// The command line for CLI11, which wants it in reverse. It takes a path in brackets for a list of several,
/// so such a path is given as one that begins with its folder.
std::vector<std::string> argumentsOf(std::vector<std::string> arguments) {
  std::string before;
  for (std::string& argument : arguments) {
    const bool isValue = before == "--channels" || before == "--channel" || before == "--exclude" ||
                         before == "--marker" || before == "--compare-markers";
    before = argument;
    if (!isValue && argument.starts_with('[') && argument.ends_with(']')) argument.insert(0, "./");
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

bool namesNoCommand(CLI::App& app, const std::string& first) {
  return !first.starts_with('-') && commandNamed(app, first) == nullptr;
}

/// Null where there is no such option.
const CLI::Option* optionNamed(const CLI::App& command, const std::string& name) {
  const auto found = command.get_options([&](const CLI::Option* option) {
    return name.starts_with('-') && !option->get_positional() && option->check_name(name);
  });
  return found.empty() ? nullptr : found.front();
}

/// Throws for what CLI11 would take for something else.
void requireUnmistakable(CLI::App& app, const std::vector<std::string>& arguments) {
  if (!arguments.empty() && namesNoCommand(app, arguments.front()))
    throw UsageError(unknownCommand(app, arguments.front()));
  const CLI::App* command = arguments.empty() ? nullptr : commandNamed(app, arguments.front());
  for (std::size_t i = 1; i < arguments.size() && arguments[i - 1] != "--"; ++i) {
    const std::string& value = arguments[i];
    const CLI::Option* option = command == nullptr ? nullptr : optionNamed(*command, arguments[i - 1]);
    if (option != nullptr && !valueWordOf(*option).empty() && optionNamed(*command, value) != nullptr)
      throw UsageError(arguments[i - 1] + " needs a value: " + arguments[i - 1] + " " + valueWordOf(*option));
    std::error_code unknown;
    if (arguments[i - 1] == "--partial" && (value == "drop" || value == "nan") &&
        !std::filesystem::exists(pathFromText(value), unknown))
      throw UsageError("--partial takes its value after an equals sign: --partial=" + value);
  }
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
  described.value = option.get_positional() ? option.get_name(true) : valueWordOf(option);
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
      Page command{part->get_name(), part->get_description(), {}, {}, {}, part->get_footer()};
      describeInto(command, *part);
      page.commands.push_back(std::move(command));
    }
  }
}

/// The command line that shows what might have been meant.
std::string helpFor(const CLI::App& app) {
  const auto given = app.get_subcommands();
  const std::string name = given.empty() ? "" : given.front()->get_name();
  return name.empty() || name == "help" ? "ctfmeg help" : "ctfmeg help " + name;
}

/// Where words are names of commands, they are what completions offer.
void offerCommands(Page& page) {
  std::vector<std::string> names;
  for (const Page& command : page.commands)
    names.push_back(command.name);
  for (Page& command : page.commands)
    for (PageOption& argument : command.arguments)
      if (argument.value == "COMMAND") argument.choices = names;
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments) {
  Definitions definitions;
  CLI::App& app = definitions.app();
  try {
    requireUnmistakable(app, arguments);
    app.parse(argumentsOf(arguments));
  } catch (const CLI::Success& asked) {  // for help, or the version
    app.exit(asked, std::cout, std::cerr);
    finishOutput();
  } catch (const CLI::ParseError& error) {
    say("", wrongUsage(app, error));
    say("", helpFor(app) + " shows what there is");
    return kWrongUsage;
  }
  return definitions.exitCode();
}

Page describeCommandLine() {
  Definitions definitions;
  const CLI::App& app = definitions.app();
  Page page{app.get_name(), app.get_description(), {}, {}, {}, app.get_footer()};
  describeInto(page, app);
  offerCommands(page);
  return page;
}

}  // namespace ctfmeg::cli
