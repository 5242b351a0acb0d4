#pragma once

#include <string>
#include <vector>

namespace ctfmeg::cli {

/// A text cell that no spreadsheet runs as a formula: one that begins like a formula gets an apostrophe in
/// front.
std::string csvText(const std::string& text);

/// One line as RFC 4180 has it, its line end included.
std::string csvLine(const std::vector<std::string>& cells);

}  // namespace ctfmeg::cli
