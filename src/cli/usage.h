#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace ctfmeg::cli {

// What the command says about its own use, in its own words.

/// Wrong usage that is found out once the command line is understood; `text` is the sentence for it.
class UsageError : public CLI::ParseError {
 public:
  explicit UsageError(const std::string& text) : ParseError("UsageError", text, 2) {}
};

/// Null where there is no such command.
const CLI::App* commandNamed(const CLI::App& app, const std::string& name);

/// "there is no command ...", with what was probably meant.
std::string unknownCommand(const CLI::App& app, const std::string& name);

/// The sentence for wrong usage.
std::string wrongUsage(const CLI::App& app, const CLI::Error& error);

// What the value of an option must be. The checks return the rest of a sentence that begins with its name.

/// One of these words.
std::function<std::string(const std::string&)> oneOf(std::vector<std::string> words);
/// A whole number.
std::function<std::string(const std::string&)> numberFrom(int low, int high);

/// "must be MUST, not TEXT".
std::string mustBe(const std::string& must, const std::string& text);

}  // namespace ctfmeg::cli
