#include "ctf/text.h"

#include <algorithm>

#include "base/encoding.h"

namespace ctfmeg {
namespace {

std::string_view asText(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string_view upToZero(std::string_view text) { return text.substr(0, text.find('\0')); }

/// Hosts rely on the bytes of fixed text being widened as signed characters.
std::string widened(const std::string& bytes) {
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (std::all_of(bytes.begin(), bytes.end(), isAscii)) return bytes;
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    appendUtf8(text, byte < 0x80 ? byte : 0xFF00U + byte);
  }
  return text;
}

}  // namespace

std::string decodeText(std::string_view bytes, const ReadingRules& rules) {
  return rules.windows1252 ? utf8FromWindows1252(bytes) : utf8FromAnsi(bytes);
}

std::string decodeFixedText(std::span<const std::byte> field, const ReadingRules& rules) {
  std::string bytes(rules.textEndsAtZero ? upToZero(asText(field)) : asText(field));
  std::erase(bytes, '\0');  // hosts rely on text after an embedded zero byte being kept
  return std::string(trimmed(rules.windows1252 ? utf8FromWindows1252(bytes) : widened(bytes)));
}

std::string decodeName(std::span<const std::byte> buffer, std::size_t offset, std::size_t width,
                       const ReadingRules& rules) {
  const auto field = rules.nameEndsAtField ? buffer.subspan(offset, width) : buffer.subspan(offset);
  return decodeText(upToZero(asText(field)), rules);
}

}  // namespace ctfmeg
