#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace ctfmeg::cli {

/// Lays out `--help`.
class HelpLayout : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_positionals(const CLI::App* app) const override;
  std::string make_option_name(const CLI::Option* option, bool positional) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;
  std::string make_description(const CLI::App* app) const override;
  std::string make_subcommand(const CLI::App* command) const override;
  std::string make_footer(const CLI::App* app) const override;
};

/// The word for an option's value in the help, such as "FILE" or "plain|host"; empty for a flag.
std::string valueWordOf(const CLI::Option& option);

}  // namespace ctfmeg::cli
