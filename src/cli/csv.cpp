#include "cli/csv.h"

#include "cli/visible_text.h"

namespace ctfmeg::cli {

std::string csvText(const std::string& text) {
  // Some spreadsheets pass over white space, a no-break space included, before they look.
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

}  // namespace ctfmeg::cli
