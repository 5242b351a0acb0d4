#include <algorithm>
#include <string_view>

#include "cli/pages/page.h"

namespace ctfmeg::cli {
namespace {

/// What may stand for a value, told from what stands for it in the help.
enum class ValueKind { none, words, directory, file, free };

ValueKind kindOf(const PageOption& option) {
  const std::string& value = option.value;
  if (value.empty()) return ValueKind::none;
  if (value.find('|') != std::string::npos) return ValueKind::words;
  if (value == "DIR" || value == "DIRECTORY") return ValueKind::directory;
  if (value == "FILE" || value == "DATASET" || value == "OUT.ds") return ValueKind::file;
  return ValueKind::free;
}

std::string wordsOf(const PageOption& option) {
  std::string words = option.value;
  std::replace(words.begin(), words.end(), '|', ' ');
  return words;
}

std::string joined(const std::vector<std::string>& items, const char* between) {
  std::string text;
  for (const std::string& item : items)
    text += (text.empty() ? "" : between) + item;
  return text;
}

std::string optionNames(const Page& page) {
  std::string names;
  for (const PageOption& option : page.options)
    names += (names.empty() ? "" : " ") + joined(option.names, " ");
  return names;
}

/// What bash is to offer behind an option that takes a value.
std::string bashAnswer(const PageOption& option) {
  switch (kindOf(option)) {
    case ValueKind::words:
      return "mapfile -t COMPREPLY < <(compgen -W '" + wordsOf(option) + "' -- \"$cur\")";
    case ValueKind::directory:
      return "_filedir -d";
    case ValueKind::file:
      return "_filedir";
    default:
      return ":";
  }
}

/// In single quotes for a shell.
std::string quoted(std::string_view text) {
  std::string out = "'";
  for (const char c : text)
    out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

/// Text in a description for zsh's _arguments, to which some characters mean something.
std::string zshText(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') out += '\\';
    out += c;
  }
  return out;
}

std::string zshAction(const PageOption& option) {
  switch (kindOf(option)) {
    case ValueKind::words:
      return "(" + wordsOf(option) + ")";
    case ValueKind::directory:
      return "_files -/";
    case ValueKind::file:
      return "_files";
    default:
      return " ";
  }
}

std::string zshOption(const PageOption& option) {
  std::string lines;
  for (const std::string& name : option.names) {
    const bool valued = !option.value.empty();
    const std::string equals = valued && name.starts_with("--") ? "=" : "";
    lines += " \\\n        " + quoted(name + equals + "[" + zshText(option.help) + "]" +
                                      (valued ? ":" + zshText(option.value) + ":" + zshAction(option) : ""));
  }
  return lines;
}

std::string zshArguments(const Page& page) {
  std::string lines;
  for (const PageOption& argument : page.arguments)
    lines += " \\\n        " +
             quoted((argument.several ? "*:" : "1:") + zshText(argument.value) + ":" + zshAction(argument));
  return lines;
}

}  // namespace

std::string bashCompletion(const Page& page) {
  std::vector<std::string> commands;
  for (const Page& command : page.commands)
    commands.push_back(command.name);
  std::string text = "# Completion for " + page.name + " in bash; needs the package bash-completion.\n_" +
                     page.name +
                     "() {\n  local cur prev words cword split\n  _init_completion -s || return\n" +
                     "  local command=${words[1]}\n  if [ \"$cword\" -eq 1 ]; then\n" +
                     "    mapfile -t COMPREPLY < <(compgen -W '" + joined(commands, " ") + " " +
                     optionNames(page) + "' -- \"$cur\")\n    return\n  fi\n  case \"$command\" in\n";
  for (const Page& command : page.commands) {
    text += "    " + command.name + ")\n      case \"$prev\" in\n";
    for (const PageOption& option : command.options)
      if (!option.value.empty())
        text += "        " + joined(option.names, " | ") + ") " + bashAnswer(option) + "; return ;;\n";
    text += "      esac\n      if [[ \"$cur\" == -* ]]; then\n        mapfile -t COMPREPLY < <(compgen -W '" +
            optionNames(command) + "' -- \"$cur\")\n      else\n        " +
            (command.arguments.empty() ? std::string(":") : bashAnswer(command.arguments.front())) +
            "\n      fi ;;\n";
  }
  return text + "  esac\n}\ncomplete -F _" + page.name + " " + page.name + "\n";
}

std::string zshCompletion(const Page& page) {
  std::string text =
      "#compdef " + page.name + "\n_" + page.name + "() {\n  local -a commands\n  commands=(\n";
  for (const Page& command : page.commands)
    text += "    " + quoted(command.name + ":" + command.summary) + "\n";
  text += "  )\n  if (( CURRENT == 2 )); then\n    _describe command commands\n    _arguments";
  for (const PageOption& option : page.options)
    text += zshOption(option);
  text +=
      "\n    return\n  fi\n  local command=$words[2]\n  shift words\n  (( CURRENT-- ))\n  case $command in\n";
  for (const Page& command : page.commands) {
    text += "    " + command.name + ")\n      _arguments -s";
    for (const PageOption& option : command.options)
      text += zshOption(option);
    text += zshArguments(command) + "\n      ;;\n";
  }
  return text + "  esac\n}\n_" + page.name + " \"$@\"\n";
}

}  // namespace ctfmeg::cli
