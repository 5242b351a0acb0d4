#pragma once

#include <string>
#include <vector>

namespace ctfmeg::cli {

/// An option of a command, or an argument without a name.
struct PageOption {
  std::vector<std::string> names;  ///< such as "-o" and "--output"; none for an argument
  std::string value;  ///< the word for its value, such as "FILE" or "plain|host"; empty for a flag
  std::vector<std::string> choices;  ///< what the value may be, where the word does not list it
  std::string help;
  std::string standard;   ///< its value when it is not given, if the help says so
  bool several = false;   ///< may be given more than once in a row
  bool required = false;  ///< must be given
};

/// A command and what may be given to it.
struct Page {
  std::string name;
  std::string summary;
  std::vector<PageOption> arguments, options;
  std::vector<Page> commands;
  std::string examples;  ///< lines, each a command and what it does
};

// Texts of pages, made of the same definitions as the command's help.

/// A manual page in the format of man(7).
std::string manPage(const Page& page, const std::string& version);

std::string bashCompletion(const Page& page);
std::string zshCompletion(const Page& page);

}  // namespace ctfmeg::cli
