#include "output/visible_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace ctfmeg::output {
namespace {

unsigned char at(std::string_view text, std::size_t i) { return static_cast<unsigned char>(text[i]); }

/// Length of the valid UTF-8 sequence at the start, 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
  const unsigned char lead = at(text, 0);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((at(text, i) & 0xC0) != 0x80) return 0;
  // Longer than necessary, a surrogate, or beyond Unicode.
  if (length > 2) {
    const unsigned char second = at(text, 1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
      return 0;
  }
  return length;
}

std::uint32_t codePoint(std::string_view sequence) {
  if (sequence.size() == 1) return at(sequence, 0);
  std::uint32_t code = at(sequence, 0) & (0x7FU >> sequence.size());
  for (const char next : sequence.substr(1))
    code = (code << 6) | (static_cast<unsigned char>(next) & 0x3FU);
  return code;
}

/// Controls, and characters that show nothing, break lines or change the direction of the text around them.
bool misleads(std::uint32_t code) {
  struct Span {
    std::uint32_t first, last;
  };
  constexpr Span kSpans[] = {{0, 0x1F},        {0x7F, 0x9F},     {0xAD, 0xAD},      {0x61C, 0x61C},
                             {0x180E, 0x180E}, {0x200B, 0x200F}, {0x2028, 0x202E},  {0x2060, 0x206F},
                             {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};
  return std::any_of(std::begin(kSpans), std::end(kSpans),
                     [code](const Span& span) { return code >= span.first && code <= span.last; });
}

std::string jsonEscape(std::uint32_t code) {
  if (code >= 0x10000)
    return jsonEscape(0xD800 + ((code - 0x10000) >> 10)) + jsonEscape(0xDC00 + (code & 0x3FF));
  std::array<char, 16> escaped{};
  std::snprintf(escaped.data(), escaped.size(), "\\u%04x", code);
  return escaped.data();
}

}  // namespace

std::string harmlessJson(std::string_view json) {
  std::string shown;
  shown.reserve(json.size());
  while (!json.empty()) {
    const auto sequence = json.substr(0, std::max<std::size_t>(sequenceLength(json), 1));
    const std::uint32_t code = codePoint(sequence);
    if (code != '\n' && misleads(code))
      shown += jsonEscape(code);
    else
      shown += sequence;
    json.remove_prefix(sequence.size());
  }
  return shown;
}

std::string visible(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    const auto sequence = text.substr(0, length == 0 ? 1 : length);
    if (length > 0 && !misleads(codePoint(sequence))) {
      shown += sequence;
    } else {
      for (std::size_t i = 0; i < sequence.size(); ++i) {
        std::array<char, 5> escaped{};
        std::snprintf(escaped.data(), escaped.size(), "\\x%02x", static_cast<unsigned>(at(sequence, i)));
        shown += escaped.data();
      }
    }
    text.remove_prefix(sequence.size());
  }
  return shown;
}

std::size_t columns(std::string_view text) {
  std::size_t count = 0;
  for (const char c : text)
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++count;
  return count;
}

std::string wrapped(const std::string& visibleText, std::size_t most, std::size_t indent) {
  std::string text;
  std::size_t used = 0;  // columns of the line
  for (std::size_t begin = 0; begin <= visibleText.size();) {
    const std::size_t end = std::min(visibleText.find(' ', begin), visibleText.size());
    const std::string word = visibleText.substr(begin, end - begin);
    if (used > 0 && used + 1 + columns(word) > most) {
      text += '\n' + std::string(indent, ' ');
      used = indent;
    } else if (begin > 0) {
      text += ' ';
      ++used;
    }
    text += word;
    used += columns(word);
    begin = end + 1;
  }
  return text;
}

std::string clipped(const std::string& visibleText, std::size_t most) {
  if (columns(visibleText) <= most) return visibleText;
  std::size_t end = 0;
  for (std::size_t left = most - 1; left > 0; --left)
    end += sequenceLength(std::string_view(visibleText).substr(end));
  return visibleText.substr(0, end) + "\u2026";
}

}  // namespace ctfmeg::output
