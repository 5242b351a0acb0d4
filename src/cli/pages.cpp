#include <algorithm>
#include <string_view>

#include "cli/pages.h"

namespace ctfmeg::cli {
namespace {

/// What a value may be, by the word that stands for it in the help.
enum class ValueKind { none, words, directory, file, free };

ValueKind kindOf(const PageOption& option) {
  const std::string& value = option.value;
  if (value.empty()) return ValueKind::none;
  if (!option.choices.empty() || value.find('|') != std::string::npos) return ValueKind::words;
  if (value == "DIR" || value == "DIRECTORY") return ValueKind::directory;
  if (value == "FILE" || value == "DATASET" || value == "OUT.ds") return ValueKind::file;
  return ValueKind::free;
}

std::string joined(const std::vector<std::string>& items, const char* between) {
  std::string text;
  for (const std::string& item : items)
    text += (text.empty() ? "" : between) + item;
  return text;
}

std::string wordsOf(const PageOption& option) {
  std::string words = option.choices.empty() ? option.value : joined(option.choices, " ");
  std::replace(words.begin(), words.end(), '|', ' ');
  return words;
}

std::string optionNames(const Page& page) {
  std::string names;
  for (const PageOption& option : page.options)
    names += (names.empty() ? "" : " ") + joined(option.names, " ");
  return names;
}

/// What bash is to offer after an option that takes a value.
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
std::string inQuotes(std::string_view text) {
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
    lines +=
        " \\\n        " + inQuotes(name + equals + "[" + zshText(option.help) + "]" +
                                   (valued ? ":" + zshText(option.value) + ":" + zshAction(option) : ""));
  }
  return lines;
}

std::string zshArguments(const Page& page) {
  std::string lines;
  for (const PageOption& argument : page.arguments)
    lines += " \\\n        " +
             inQuotes((argument.several ? "*:" : "1:") + zshText(argument.value) + ":" + zshAction(argument));
  return lines;
}

// The manual page.

/// Text as the formatter takes it: it reads a backslash as the start of something else, a minus as a hyphen,
/// and a point or an apostrophe at a line's start as a request.
std::string escaped(std::string_view text) {
  std::string out;
  bool lineStart = true;
  for (const char c : text) {
    if (lineStart && (c == '.' || c == '\'')) out += "\\&";
    lineStart = c == '\n';
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else if (c == '\'')
      out += "\\(aq";
    else
      out += c;
  }
  return out;
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + escaped(text) + "\\fR"; }

std::string synopsisOf(const std::string& program, const Page& command) {
  std::string line = ".B " + escaped(program + " " + command.name) + "\n";
  line += command.options.empty() ? "" : "[" + italic("options") + "]\n";
  for (const PageOption& argument : command.arguments)
    line += italic(argument.value) + (argument.several ? " ...\n" : "\n");
  return line + ".br\n";
}

std::string itemOf(const PageOption& option) {
  std::string names;
  for (const std::string& name : option.names)
    names += (names.empty() ? "" : ", ") + bold(name);
  if (names.empty())
    names = italic(option.value);
  else if (!option.value.empty())
    names += " " + italic(option.value);
  std::string help = option.help;
  if (!option.standard.empty()) help += " [" + option.standard + "]";
  if (option.required && !option.names.empty()) help += " (required)";
  return ".TP\n" + names + "\n" + escaped(help) + "\n";
}

std::string sectionOf(const Page& command) {
  std::string text = ".SS " + escaped(command.name) + "\n" + escaped(command.summary) + ".\n";
  for (const PageOption& argument : command.arguments)
    text += itemOf(argument);
  for (const PageOption& option : command.options)
    text += itemOf(option);
  return text +
         (command.examples.empty() ? "" : ".PP\nExamples:\n.PP\n.nf\n" + escaped(command.examples) + ".fi\n");
}

}  // namespace

std::string manPage(const Page& page, const std::string& version) {
  std::string text = ".TH CTFMEG 1 \"\" \"" + page.name + " " + version + "\" \"User Commands\"\n";
  text += ".SH NAME\n" + page.name + " \\- reads MEG recordings made on CTF systems\n.SH SYNOPSIS\n";
  for (const Page& command : page.commands)
    text += synopsisOf(page.name, command);
  text += ".SH DESCRIPTION\n" + escaped(page.summary) +
          ". A dataset is a directory whose name ends in .ds, or a file in it.\n.SH COMMANDS\n";
  for (const Page& command : page.commands)
    text += sectionOf(command);
  text += ".SH OPTIONS\n";
  for (const PageOption& option : page.options)
    text += itemOf(option);
  text += ".SH EXIT STATUS\n";
  for (const auto& [code, meaning] :
       {std::pair{"0", "Done."},
        {"1", "A dataset could not be read, a result not written, or it was refused."},
        {"2", "Wrong usage."},
        {"3", "check and scan only: odd but readable."},
        {"130", "Ended by Ctrl-C; no partial file is left."}})
    text += ".TP\n.B " + std::string(code) + "\n" + escaped(meaning) + "\n";
  return text + ".SH EXAMPLES\n.nf\n" + escaped(page.examples) + ".fi\n";
}

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
    text += "    " + inQuotes(command.name + ":" + command.summary) + "\n";
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
