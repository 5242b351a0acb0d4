#include "util/fixed_text.h"

#include <algorithm>
#include <string_view>

#include <megreader/framework/encoding.h>

namespace {

std::string_view asText(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::span<const std::byte> upToZero(std::span<const std::byte> bytes) {
  const auto zero = std::find(bytes.begin(), bytes.end(), std::byte{0});
  return bytes.first(static_cast<std::size_t>(zero - bytes.begin()));
}

/// Hosts rely on text behind an embedded zero byte being kept, and on bytes being widened as signed
/// characters.
CString withoutZeros(std::span<const std::byte> field) {
  CString text;
  for (const std::byte byte : field) {
    const auto value = std::to_integer<unsigned>(byte);
    if (value != 0) text += static_cast<wchar_t>(value < 0x80 ? value : 0xFF00 + value);
  }
  return text;
}

}  // namespace

CString fixedTextToString(std::span<const std::byte> field, const ReadingRules& rules) {
  CString text = rules.textEndsAtZero ? fromWindows1252(asText(upToZero(field))) : withoutZeros(field);
  text.Trim();
  return text;
}

CString decodeName(std::span<const std::byte> buffer, std::size_t offset, std::size_t width,
                   const ReadingRules& rules) {
  if (rules.nameEndsAtField) return fromWindows1252(asText(upToZero(buffer.subspan(offset, width))));
  return fromAnsi(asText(upToZero(buffer.subspan(offset))));
}
