#pragma once

#include <string>
#include <vector>

namespace ctfmeg::cli {

/// A text cell: control characters made visible, and an apostrophe in front of what a spreadsheet would run
/// as a formula.
std::string csvText(const std::string& text);

/// One line as RFC 4180 has it, its line end included.
std::string csvLine(const std::vector<std::string>& cells);

}  // namespace ctfmeg::cli
