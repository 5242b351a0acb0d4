#include <string_view>

#include "cli/pages/page.h"

namespace ctfmeg::cli {
namespace {

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
  return text;
}

}  // namespace

std::string manPage(const Page& page, const std::string& version) {
  std::string text = ".TH CTFMEG 1 \"\" \"" + page.name + " " + version + "\" \"User Commands\"\n";
  text += ".SH NAME\n" + page.name + " \\- reads MEG recordings made on CTF systems\n.SH SYNOPSIS\n";
  for (const Page& command : page.commands)
    text += synopsisOf(page.name, command);
  text += ".SH DESCRIPTION\n" + escaped(page.summary) +
          " A dataset is a directory whose name ends in .ds, or a file in it.\n.SH COMMANDS\n";
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
        {"3", "check only: odd but readable."},
        {"130", "Ended by Ctrl-C; no partial file is left."}})
    text += ".TP\n.B " + std::string(code) + "\n" + escaped(meaning) + "\n";
  return text + ".SH EXAMPLES\n.nf\n" + escaped(page.examples) + ".fi\n";
}

}  // namespace ctfmeg::cli
