#include "cli/usage.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>

#include "base/nearest.h"
#include "cli/help_layout.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

/// The command that was given, or the program.
const CLI::App& givenCommand(const CLI::App& app) {
  const auto given = app.get_subcommands();
  return given.empty() ? app : *given.front();
}

std::vector<std::string> commandsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(command->get_name());
  return names;
}

std::vector<std::string> optionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames())
      names.push_back("--" + name);
  return names;
}

/// What an option is called in a sentence.
std::string nameOf(const CLI::Option& option) { return option.get_name(); }

/// What was given and is not known, in the order of the command line; "--" aside.
std::string unknownOption(const CLI::App& app, const CLI::App& command) {
  const auto firstIn = [](const std::vector<std::string>& left) {
    for (const std::string& argument : left) {
      if (argument == "--") break;  // what comes after it is no option
      if (argument.size() > 1 && argument.front() == '-') return argument.substr(0, argument.find('='));
    }
    return std::string();
  };
  const auto there = optionsOf(command);
  if (const std::string early = firstIn(app.remaining()); !early.empty()) {
    const bool inCommand = std::find(there.begin(), there.end(), early) != there.end();
    if (&command != &app && inCommand)
      return early + " comes after the command: ctfmeg " + command.get_name() + " " + early;
    if (&command == &app)
      for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; }))
        if (const auto names = optionsOf(*each); std::find(names.begin(), names.end(), early) != names.end())
          return early + " comes after a command";
    return "there is no option " + early + " before the command" + nearestText(early, optionsOf(app));
  }
  if (&command == &app) return "";
  const std::string unknown = firstIn(command.remaining());
  if (unknown.empty()) return "";
  std::string dashed = unknown;  // "-json" is nearer to "--json" than it looks
  dashed.insert(0, unknown.starts_with("--") ? "" : "-");
  return command.get_name() + " has no option " + unknown + nearestText(dashed, there);
}

/// The option of the command that the library's text begins with or is about.
const CLI::Option* optionIn(const CLI::App& command, const std::string& text) {
  const CLI::Option* found = nullptr;
  for (const CLI::Option* option : command.get_options()) {
    const std::string name = nameOf(*option);
    const std::size_t at = text.find(name);
    const bool whole = at != std::string::npos && (at == 0 || text[at - 1] == ' ') &&
                       text.find_first_of(": =", at + name.size()) == at + name.size();
    const bool ends = at != std::string::npos && at + name.size() == text.size();
    if (whole || ends)
      if (found == nullptr || name.size() > nameOf(*found).size()) found = option;
  }
  return found;
}

bool isGiven(const CLI::Option* option) { return option->count() > 0; }

std::string missing(const CLI::App& app, const CLI::App& command) {
  if (&command == &app) return "a command is missing: there are " + listText(commandsOf(app));
  for (const CLI::Option* option : command.get_options())
    if (option->get_required() && !isGiven(option))
      return command.get_name() + " needs " + nameOf(*option) +
             (option->get_positional() ? "" : " " + valueWordOf(*option)) + ": " + option->get_description();
  return "";
}

/// Of options that need others, or can't be used with others.
std::string combination(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    if (!isGiven(option)) continue;
    for (const CLI::Option* needed : option->get_needs())
      if (!isGiven(needed)) return nameOf(*option) + " works only with " + nameOf(*needed);
    for (const CLI::Option* other : option->get_excludes())
      if (isGiven(other)) return nameOf(*option) + " and " + nameOf(*other) + " can't be used together";
  }
  return "";
}

std::string wrongValue(const CLI::Option& option, const std::string& given) {
  if (option.get_items_expected_max() == 0) return nameOf(option) + " takes no value";
  if (option.count() > 1) return nameOf(option) + " is given more than once";
  if (option.results().empty())
    return nameOf(option) + " needs a value: " + nameOf(option) + " " + valueWordOf(option);
  const bool whole = option.get_type_name() == "INT" || option.get_type_name() == "UINT";
  return nameOf(option) + " " + mustBe(whole ? "a whole number" : "a number", given);
}

}  // namespace

std::string mustBe(const std::string& must, const std::string& text) {
  return "must be " + must + (text.empty() ? ", and is empty" : ", not " + text);
}

std::function<std::string(const std::string&)> oneOf(std::vector<std::string> words) {
  return [words = std::move(words)](const std::string& text) {
    if (std::find(words.begin(), words.end(), text) != words.end()) return std::string();
    return mustBe(listText(words, "or"), text) + nearestText(text, words);
  };
}

std::function<std::string(const std::string&)> numberFrom(int low, int high) {
  return [low, high](const std::string& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc() && end == text.data() + text.size() && number >= low && number <= high)
      return std::string();
    return mustBe("a whole number from " + std::to_string(low) + " to " + std::to_string(high), text);
  };
}

const CLI::App* commandNamed(const CLI::App& app, const std::string& name) {
  const auto found =
      app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
  return found.empty() ? nullptr : found.front();
}

std::string unknownCommand(const CLI::App& app, const std::string& name) {
  std::error_code unknown;
  if (std::filesystem::exists(pathFromText(name), unknown))
    return name + " is no command; ctfmeg info " + name + " shows what a dataset is";
  return "there is no command " + name + nearestText(name, commandsOf(app));
}

std::string wrongUsage(const CLI::App& app, const CLI::Error& error) {
  const CLI::App& command = givenCommand(app);
  std::string text = error.what();
  if (dynamic_cast<const UsageError*>(&error) != nullptr) return text;
  if (std::string unknown = unknownOption(app, command); !unknown.empty()) return unknown;
  if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) return missing(app, command);
  if (dynamic_cast<const CLI::RequiresError*>(&error) != nullptr ||
      dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr)
    return combination(command);
  const CLI::Option* option = optionIn(command, text);
  if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr && option != nullptr) {
    const std::size_t colon = text.find(": ");  // after the option's name
    return nameOf(*option) + " " + text.substr(colon == std::string::npos ? 0 : colon + 2);
  }
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    auto left = command.remaining();
    std::erase(left, "--");
    return left.empty() ? text : left.front() + " is one argument too many for " + command.get_name();
  }
  return option == nullptr ? text
                           : wrongValue(*option, option->results().empty() ? "" : option->results().back());
}

}  // namespace ctfmeg::cli
