#include "ctf/text.h"

#include "base/encoding.h"

namespace ctfmeg {
namespace {

std::string_view asText(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string_view upToZero(std::string_view text) { return text.substr(0, text.find('\0')); }

/// Without zero bytes: hosts rely on text after one being kept, and on bytes being widened as signed
/// characters: one from 0x80 up is U+FF00 + byte. Names of references have dozens of such bytes each.
std::string widened(std::string_view bytes) {
  std::string text(3 * bytes.size(), '\0');
  std::size_t length = 0;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) {  // in UTF-8
      text[length++] = '\xEF';
      text[length++] = static_cast<char>(0xBC | (byte >> 6));
      text[length++] = static_cast<char>(0x80 | (byte & 0x3F));
    } else if (byte != 0) {
      text[length++] = c;
    }
  }
  text.resize(length);
  return text;
}

}  // namespace

std::string decodeText(std::string_view bytes, const ReadingRules& rules) {
  return rules.windows1252 ? utf8FromWindows1252(bytes) : utf8FromAnsi(bytes);
}

std::string decodeFixedText(std::span<const std::byte> field, const ReadingRules& rules) {
  const std::string_view text = rules.textEndsAtZero ? upToZero(asText(field)) : asText(field);
  if (!rules.windows1252) return std::string(trimmed(widened(text)));
  std::string bytes(text);
  std::erase(bytes, '\0');
  return std::string(trimmed(utf8FromWindows1252(bytes)));
}

std::string decodeName(std::span<const std::byte> buffer, std::size_t offset, std::size_t width,
                       const ReadingRules& rules) {
  const auto field = rules.nameEndsAtField ? buffer.subspan(offset, width) : buffer.subspan(offset);
  return decodeText(upToZero(asText(field)), rules);
}

}  // namespace ctfmeg
