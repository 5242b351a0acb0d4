#include "edit/line_words.h"

#include <array>
#include <charconv>

namespace ctfmeg::edit {
namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

bool hasPlus(std::string_view word) { return word.starts_with('+'); }

}  // namespace

std::optional<std::string_view> wordAt(std::string_view line, int number) {
  for (std::size_t start = 0;; --number) {
    start = line.find_first_not_of(kBlanks, start);
    if (start == std::string_view::npos) return std::nullopt;
    const std::size_t end = std::min(line.find_first_of(kBlanks, start), line.size());
    if (number == 0) return line.substr(start, end - start);
    start = end;
  }
}

void replaceWord(std::string& line, int number, std::string_view text) {
  if (const auto word = wordAt(line, number))
    line.replace(static_cast<std::size_t>(word->data() - line.data()), word->size(), text);
}

std::string numberLike(std::string_view word, std::int64_t value) {
  return (hasPlus(word) && value >= 0 ? "+" : "") + std::to_string(value);
}

std::string secondsLike(std::string_view word, double seconds) {
  // Fewer digits than a number holds, so that the last of a difference, which mean nothing, are not shown.
  constexpr int kDigits = 12;
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::general, kDigits).ptr;
  return (hasPlus(word) && seconds >= 0.0 ? "+" : "") + std::string(text.data(), end);
}

}  // namespace ctfmeg::edit
