#include "output/table.h"

#include <algorithm>

#include "output/visible_text.h"

namespace ctfmeg::output {

void writeTable(std::ostream& out, const Rows& rows) {
  constexpr std::size_t kGap = 2;
  std::vector<std::size_t> widths(rows.front().size());
  for (const auto& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], columns(row[i]));
  for (const auto& row : rows) {
    std::string text;
    for (std::size_t i = 0; i < row.size(); ++i) {
      text += row[i];
      if (i + 1 < row.size()) text += std::string(widths[i] - columns(row[i]) + kGap, ' ');
    }
    out << text << '\n';
  }
}

std::string csvText(const std::string& text) {
  // Some spreadsheets skip white space, a no-break space included, before they look for a formula.
  std::size_t first = text.find_first_not_of(" \t\r\n\v\f\xC2\xA0");
  if (first == std::string::npos) first = 0;
  const bool formula = !text.empty() && std::string("=+-@\t\r").find(text[first]) != std::string::npos;
  return (formula ? "'" : "") + visible(text);
}

std::string csvLine(const std::vector<std::string>& cells) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) line += ',';
    if (cells[i].find_first_of(",\"\r\n") == std::string::npos) {
      line += cells[i];
      continue;
    }
    line += '"';
    for (const char c : cells[i])
      line += c == '"' ? "\"\"" : std::string(1, c);
    line += '"';
  }
  return line + "\r\n";
}

}  // namespace ctfmeg::output
