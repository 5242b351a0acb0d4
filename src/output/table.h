#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace ctfmeg::output {

/// The cells of a table, row by row, the first row its heading.
using Rows = std::vector<std::vector<std::string>>;

/// Writes rows in columns as wide as their widest cell. Cells hold no control characters.
void writeTable(std::ostream& out, const Rows& rows);

/// A text as a cell of CSV: control characters made visible, and an apostrophe before what a spreadsheet
/// would run as a formula.
std::string csvText(const std::string& text);

/// One line of CSV (RFC 4180), with its line end.
std::string csvLine(const std::vector<std::string>& cells);

}  // namespace ctfmeg::output
