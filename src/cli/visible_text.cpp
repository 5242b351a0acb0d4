#include "cli/visible_text.h"

#include <array>
#include <cstdio>

namespace ctfmeg::cli {
namespace {

unsigned char at(std::string_view text, std::size_t i) { return static_cast<unsigned char>(text[i]); }

/// Length of the valid UTF-8 sequence at the front, 0 when there is none.
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
  // Longer than need be, a surrogate, or beyond Unicode.
  if (length > 2) {
    const unsigned char second = at(text, 1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
      return 0;
  }
  return length;
}

bool isControl(std::string_view sequence) {
  const unsigned char lead = at(sequence, 0);
  return lead < 0x20 || lead == 0x7F || (lead == 0xC2 && at(sequence, 1) < 0xA0);
}

}  // namespace

std::string visible(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    const auto sequence = text.substr(0, length == 0 ? 1 : length);
    if (length > 0 && !isControl(sequence)) {
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

}  // namespace ctfmeg::cli
