#include "cli/table.h"

#include <algorithm>
#include <iostream>

#include "cli/visible_text.h"

namespace ctfmeg::cli {

void printTable(const std::vector<std::vector<std::string>>& rows) {
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
    std::cout << text << '\n';
  }
}

}  // namespace ctfmeg::cli
