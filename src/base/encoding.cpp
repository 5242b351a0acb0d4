#include "base/encoding.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ctfmeg {
namespace {

constexpr char32_t kRawByteBase = 0xDC00;  // U+DC00 + byte, for bytes 0x80 to 0xFF
constexpr char32_t kReplacement = 0xFFFD;

bool isHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
bool isRawByte(char32_t c) { return c >= kRawByteBase + 0x80 && c <= kRawByteBase + 0xFF; }

/// The code point that starts at the front of `bytes`, and its length; of length 0 when it is not valid
/// UTF-8.
struct Decoded {
  char32_t codePoint = 0;
  std::size_t length = 0;
};

Decoded decodeUtf8(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(bytes[i])); };
  const auto goesOn = [&](std::size_t i) { return i < bytes.size() && (at(i) & 0xC0) == 0x80; };
  const char32_t lead = at(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xC2 || lead > 0xF4 || !goesOn(1)) return {};
  if (lead < 0xE0) return {(lead & 0x1F) << 6 | (at(1) & 0x3F), 2};
  if (!goesOn(2)) return {};
  const char32_t two = (at(1) & 0x3F) << 6 | (at(2) & 0x3F);
  if (lead < 0xF0) {
    const char32_t value = (lead & 0x0F) << 12 | two;
    if (value < 0x800 || isHighSurrogate(value) || isLowSurrogate(value)) return {};
    return {value, 3};
  }
  if (!goesOn(3)) return {};
  const char32_t value = (lead & 0x07) << 18 | two << 6 | (at(3) & 0x3F);
  if (value < 0x10000 || value > 0x10FFFF) return {};
  return {value, 4};
}

/// Bytes 0x80 to 0x9F; everything else in Windows-1252 is Latin-1.
constexpr std::array<char16_t, 32> kWindows1252High{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

}  // namespace

void appendUtf8(std::string& text, char32_t c) {
  const auto put = [&text](char32_t value) { text += static_cast<char>(value); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

std::wstring wideFromUtf8(std::string_view text) {
  std::wstring wide(text.size(), L'\0');  // a byte is never more than one character
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (isAscii(text[i])) {  // as nearly all text is
      wide[length++] = static_cast<wchar_t>(text[i++]);
      continue;
    }
    const Decoded decoded = decodeUtf8(text.substr(i));
    const bool valid = decoded.length > 0;
    const char32_t c = valid ? decoded.codePoint : kRawByteBase + static_cast<unsigned char>(text[i]);
    i += valid ? decoded.length : 1;
    if (sizeof(wchar_t) == 2 && c > 0xFFFF) {
      wide[length++] = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
      wide[length++] = static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      wide[length++] = static_cast<wchar_t>(c);
    }
  }
  // Hosts keep thousands of texts: none is to hold more memory than it needs.
  return length == wide.size() ? wide : wide.substr(0, length);
}

std::string utf8FromWide(std::wstring_view wide) {
  const auto ascii =
      std::find_if(wide.begin(), wide.end(), [](wchar_t c) { return static_cast<char32_t>(c) >= 0x80; });
  std::string text(static_cast<std::size_t>(ascii - wide.begin()), '\0');
  std::transform(wide.begin(), ascii, text.begin(), [](wchar_t c) { return static_cast<char>(c); });
  for (std::size_t i = text.size(); i < wide.size(); ++i) {
    auto c = static_cast<char32_t>(wide[i]);
    if (isHighSurrogate(c) && i + 1 < wide.size() && isLowSurrogate(static_cast<char32_t>(wide[i + 1])))
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(wide[++i]) - 0xDC00);
    if (isRawByte(c))
      text += static_cast<char>(c - kRawByteBase);
    else
      appendUtf8(text, isHighSurrogate(c) || isLowSurrogate(c) || c > 0x10FFFF ? kReplacement : c);
  }
  return text;
}

std::string utf8FromWindows1252(std::string_view bytes) {
  if (std::all_of(bytes.begin(), bytes.end(), isAscii)) return std::string(bytes);
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    appendUtf8(text, byte >= 0x80 && byte <= 0x9F ? kWindows1252High[byte - 0x80U] : byte);
  }
  return text;
}

std::optional<std::string> windows1252FromUtf8(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    const Decoded decoded = decodeUtf8(text);
    if (decoded.length == 0) return std::nullopt;
    const char32_t c = decoded.codePoint;
    const auto* high = std::find(std::begin(kWindows1252High), std::end(kWindows1252High), c);
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
      bytes += static_cast<char>(c);
    else if (high != std::end(kWindows1252High))
      bytes += static_cast<char>(0x80 + (high - std::begin(kWindows1252High)));
    else
      return std::nullopt;
    text.remove_prefix(decoded.length);
  }
  return bytes;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) + 1 - first);
}

std::string lowered(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return text;
}

}  // namespace ctfmeg
