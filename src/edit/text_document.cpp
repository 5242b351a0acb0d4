#include "edit/text_document.h"

#include <algorithm>

namespace ctfmeg::edit {

std::vector<TextLine> linesOf(std::string_view bytes) {
  std::vector<TextLine> lines;
  while (!bytes.empty()) {
    const std::size_t length = std::min(bytes.find_first_of("\r\n"), bytes.size());
    const std::string_view rest = bytes.substr(length);
    const std::size_t end = rest.starts_with("\r\n") ? 2 : std::min<std::size_t>(rest.size(), 1);
    lines.push_back({std::string(bytes.substr(0, length)), std::string(rest.substr(0, end))});
    bytes.remove_prefix(length + end);
  }
  return lines;
}

std::string textOf(const std::vector<TextLine>& lines) {
  std::string bytes;
  for (const TextLine& line : lines)
    bytes.append(line.text).append(line.end);
  return bytes;
}

std::string lineEndOf(const std::vector<TextLine>& lines) {
  return lines.empty() || lines.front().end.empty() ? "\n" : lines.front().end;
}

}  // namespace ctfmeg::edit
