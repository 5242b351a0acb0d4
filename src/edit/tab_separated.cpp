#include "edit/tab_separated.h"

#include <algorithm>
#include <cstddef>

#include "edit/text_document.h"

#include <ctfmeg/finding.h>

namespace ctfmeg::edit {
namespace {

constexpr std::string_view kNothing = "n/a", kByteOrderMark = "\xEF\xBB\xBF";

std::string cellOf(std::string text) {
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < ' ' || byte == 0x7F) c = ' ';
    if (c == '"') c = '\'';
  }
  return text.find_first_not_of(' ') == std::string::npos ? std::string(kNothing) : text;
}

std::string joined(const std::vector<std::string>& cells) {
  std::string row;
  for (std::size_t i = 0; i < cells.size(); ++i)
    row.append(i == 0 ? "" : "\t").append(cells[i]);
  return row;
}

std::vector<std::string> cellsIn(std::string_view row) {
  std::vector<std::string> cells;
  for (std::size_t from = 0; from <= row.size();) {
    const std::size_t tab = std::min(row.find('\t', from), row.size());
    cells.emplace_back(row.substr(from, tab - from));
    from = tab + 1;
  }
  return cells;
}

}  // namespace

std::string tabSeparated(std::vector<std::string> cells) {
  for (std::string& cell : cells)
    cell = cellOf(std::move(cell));
  return joined(cells) + "\n";
}

std::string withRow(std::string_view table, const NamedCells& cells, bool update,
                    const std::filesystem::path& path) {
  auto lines = linesOf(table);
  if (lines.empty()) {
    std::vector<std::string> heading, row;
    for (const auto& [column, cell] : cells) {
      heading.push_back(column);
      row.push_back(cell);
    }
    return tabSeparated(heading) + tabSeparated(row);
  }
  std::string_view heading = lines.front().text;
  if (heading.starts_with(kByteOrderMark)) heading.remove_prefix(kByteOrderMark.size());
  const auto columns = cellsIn(heading);
  const auto placeOf = [&](const std::string& column) {
    return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), column) - columns.begin());
  };
  const std::size_t about = placeOf(cells.front().first);
  if (about == columns.size())
    throw Error(ErrorKind::refused, path,
                "has no column " + cells.front().first + ", so that no row can be added to it");
  const auto changed = [&](std::vector<std::string> row) {
    row.resize(std::max(row.size(), columns.size()), std::string(kNothing));
    for (const auto& [column, cell] : cells)
      if (const std::size_t place = placeOf(column); place < columns.size()) row[place] = cellOf(cell);
    return joined(row);
  };
  const std::string wanted = cellOf(cells.front().second), end = lineEndOf(lines);
  for (auto line = lines.begin() + 1; line != lines.end(); ++line) {
    const auto row = cellsIn(line->text);
    if (about >= row.size() || row[about] != wanted) continue;
    if (update) line->text = changed(row);
    return textOf(lines);
  }
  if (lines.back().end.empty()) lines.back().end = end;
  // Blank lines at the end stay there: a row after them would be one of a second table to some programs.
  const auto last =
      std::find_if(lines.rbegin(), lines.rend(), [](const TextLine& line) { return !line.text.empty(); });
  lines.insert(last.base(), {changed({}), end});
  return textOf(lines);
}

}  // namespace ctfmeg::edit
