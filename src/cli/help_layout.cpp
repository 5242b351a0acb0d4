#include "cli/help_layout.h"

#include <algorithm>
#include <set>
#include <sstream>

#include "base/nearest.h"
#include "output/visible_text.h"

namespace ctfmeg::cli {
namespace {

constexpr std::size_t kWidth = 80;  // of the narrowest terminal that is usual

std::string namesOf(const std::set<CLI::Option*>& options, const char* last) {
  std::vector<std::string> names;
  names.reserve(options.size());
  for (const CLI::Option* option : options)
    names.push_back(option->get_name());
  std::sort(names.begin(), names.end());
  return listText(names, last);
}

}  // namespace

std::string valueWordOf(const CLI::Option& option) {
  if (option.get_type_size_max() == 0) return "";
  const std::string& word = option.get_type_name();
  return word == "INT" || word == "UINT" ? "N" : word == "FLOAT" ? "NUMBER" : word;
}

std::string HelpLayout::make_description(const CLI::App* app) const {
  return app->get_description() + ".\n\n";
}

std::string HelpLayout::make_subcommand(const CLI::App* command) const {
  std::stringstream out;
  CLI::detail::format_help(out, command->get_name(),
                           output::wrapped(command->get_description(), kWidth - get_column_width(), 0),
                           get_column_width());
  return out.str();
}

/// The examples.
std::string HelpLayout::make_footer(const CLI::App* app) const { return "Examples:\n" + app->get_footer(); }

std::string HelpLayout::make_usage(const CLI::App* app, std::string name) const {
  std::string line = "Usage: " + name;
  if (app->get_parent() == nullptr)
    return line + " COMMAND [options] ...\n       " + name + " help COMMAND\n";
  line += " [options]";
  for (const CLI::Option* option : app->get_options())
    if (option->get_positional()) line += " " + make_option_usage(option);
  return line + "\n";
}

std::string HelpLayout::make_positionals(const CLI::App* app) const {
  const auto positional =
      app->get_options([](const CLI::Option* option) { return option->get_positional(); });
  return positional.empty() ? "" : make_group("Arguments", true, positional);
}

std::string HelpLayout::make_option_name(const CLI::Option* option, bool positional) const {
  if (positional) return option->get_name(true);
  const std::string letter = option->get_snames().empty() ? "" : "-" + option->get_snames().front() + ", ";
  return letter + option->get_name();
}

std::string HelpLayout::make_option_opts(const CLI::Option* option) const {
  if (option->get_positional()) return "";
  if (!option->get_option_text().empty()) return option->get_option_text();
  const std::string word = valueWordOf(*option);
  return word.empty() ? "" : " " + word;
}

std::string HelpLayout::make_option_desc(const CLI::Option* option) const {
  std::string text = option->get_description();
  if (!option->get_default_str().empty()) text += " (default: " + option->get_default_str() + ")";
  if (option->get_required() && !option->get_positional()) text += " (required)";
  if (!option->get_needs().empty()) text += " (only with " + namesOf(option->get_needs(), "and") + ")";
  if (!option->get_excludes().empty()) text += " (not with " + namesOf(option->get_excludes(), "or") + ")";
  return output::wrapped(text, kWidth - get_column_width(), 0);
}

}  // namespace ctfmeg::cli
