#include "edit/dataset_name.h"

#include <algorithm>

#include "base/encoding.h"

#include <ctfmeg/finding.h>
#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {
namespace {

constexpr std::string_view kSeparators = "/\\";

bool isSeparator(char c) { return kSeparators.find(c) != std::string_view::npos; }

bool isWordCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// What may be next to a name in a text and is no part of it.
bool isBorder(char c) {
  return isSeparator(c) || std::string_view(" \t\r\n\"'<>|=:;,()[]{}").find(c) != std::string_view::npos;
}

/// The extensions that follow a name, such as ".ds" or ".mrk.bak".
std::size_t extensionLength(std::string_view text) {
  std::size_t length = 0;
  while (length + 1 < text.size() && text[length] == '.') {
    std::size_t end = length + 1;
    while (end < text.size() && (isWordCharacter(text[end]) || text[end] == '_'))
      ++end;
    if (end == length + 1) break;
    length = end;
  }
  return length;
}

}  // namespace

DatasetName::DatasetName(std::vector<std::string> before, std::string now)
    : m_before(std::move(before)), m_now(std::move(now)) {
  std::sort(m_before.begin(), m_before.end());
  m_before.erase(std::unique(m_before.begin(), m_before.end()), m_before.end());
  std::erase(m_before, "");
  const auto now1252 = windows1252FromUtf8(m_now);
  for (const std::string& name : m_before) {
    const auto name1252 = windows1252FromUtf8(name);
    if (name1252 && now1252) m_forms.emplace_back(*name1252, *now1252);
    if (name1252 != name) m_forms.emplace_back(name, m_now);
  }
}

std::string DatasetName::ofFile(const std::string& name) const {
  std::string file;
  for (std::size_t start = 0; start <= name.size();) {
    const std::size_t end = std::min(name.find('/', start), name.size());
    const std::string part = name.substr(start, end - start);
    const auto old = std::find_if(m_before.begin(), m_before.end(), [&](const std::string& before) {
      return part == before || part.starts_with(before + ".");
    });
    file += old == m_before.end() ? part : m_now + part.substr(old->size());
    if (end < name.size()) file += '/';
    start = end + 1;
  }
  return file;
}

std::string DatasetName::inValue(std::string_view value) const { return replaced(value, true); }

std::string DatasetName::inText(std::string_view text) const { return replaced(text, false); }

std::string DatasetName::inOwnPath(std::string_view value) const {
  std::string path = replaced(value, true);
  const std::size_t last = path.find_last_not_of(" \t/\\");
  if (last == std::string::npos) return path;
  const std::size_t separator = path.find_last_of(kSeparators, last);
  const std::size_t first = separator == std::string::npos ? path.find_first_not_of(" \t") : separator + 1;
  const std::string part = path.substr(first, last + 1 - first);
  const std::string extension = lowered(part).ends_with(".ds") ? part.substr(part.size() - 3) : "";
  const std::string now = m_forms.empty() ? m_now : m_forms.front().second;
  return path.substr(0, first) + now + extension + path.substr(last + 1);
}

std::string DatasetName::replaced(std::string_view text, bool wordsToo) const {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const bool begins = at == 0 || isBorder(text[at - 1]);
    std::size_t used = 0;
    for (const auto& [before, now] : m_forms) {
      if (!begins || !text.substr(at).starts_with(before)) continue;
      const std::string_view after = text.substr(at + before.size());
      const std::size_t extension = extensionLength(after);
      const std::string_view next = after.substr(extension);
      const bool ends = next.empty() || isBorder(next.front());
      const bool inPath =
          (at > 0 && isSeparator(text[at - 1])) || (!next.empty() && isSeparator(next.front()));
      const bool wholeValue = wordsToo && trimmed(text).size() == before.size();
      if (!ends || !(extension > 0 || inPath || wholeValue)) continue;
      result.append(now);
      used = before.size();
      break;
    }
    if (used == 0) result += text[at++];
    at += used;
  }
  return result;
}

bool DatasetName::isIn(std::string_view bytes) const {
  return std::any_of(m_forms.begin(), m_forms.end(), [&](const auto& form) {
    const std::string& name = form.first;
    for (std::size_t at = 0; (at = bytes.find(name, at)) != std::string_view::npos; ++at) {
      const bool begins = at == 0 || !isWordCharacter(bytes[at - 1]);
      const std::size_t end = at + name.size();
      if (begins && (end == bytes.size() || !isWordCharacter(bytes[end]))) return true;
    }
    return false;
  });
}

std::string nameFor(const std::filesystem::path& out) {
  const std::filesystem::path last = out.has_filename() ? out.filename() : out.parent_path().filename();
  std::string name = textOf(last.stem());
  if (lowered(textOf(last.extension())) != ".ds" || name.empty() || name == "." || name == "..")
    throw Error(ErrorKind::refused, out, "is no name for a dataset: it must end in .ds");
  const auto bytes = windows1252FromUtf8(name);
  if (!bytes ||
      std::any_of(name.begin(), name.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; }))
    throw Error(ErrorKind::refused, out,
                "has a name that the texts of a dataset can't hold: they have the letters of Windows-1252");
  return name;
}

}  // namespace ctfmeg::edit
