#include "edit/line_form.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "base/encoding.h"
#include "base/scan.h"
#include "edit/event_lines.h"

namespace ctfmeg::edit {
namespace {

constexpr std::string_view kBlanks = " \t\v\f";
constexpr std::size_t kMostCharacters = 32;  // of a number; more may be a text of digits

std::size_t digitsAhead(std::string_view text) {
  return std::min(text.find_first_not_of("0123456789"), text.size());
}

std::string_view withoutSign(std::string_view text) {
  return text.substr(!text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0);
}

bool isInteger(std::string_view word) {
  const std::string_view number = withoutSign(word);
  return !number.empty() && word.size() <= kMostCharacters / 2 && digitsAhead(number) == number.size();
}

bool isFraction(std::string_view word) {
  std::string_view rest = withoutSign(word);
  std::size_t digits = digitsAhead(rest);
  rest.remove_prefix(digits);
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    digits += digitsAhead(rest);
    rest.remove_prefix(digitsAhead(rest));
  }
  if (digits == 0 || word.size() > kMostCharacters) return false;
  return rest.empty() || ((rest[0] == 'e' || rest[0] == 'E') && isInteger(rest.substr(1)));
}

/// The word where it has the form; a number that a reader understands and that is too long is written anew.
std::optional<std::string> inForm(std::string_view word, char form) {
  if (form == 's' || (form == 'd' ? isInteger(word) : isFraction(word))) return std::string(word);
  std::int32_t whole = 0;
  double number = 0.0;
  if (form == 'd' && scan(word, "%d", {&whole}, ScanPrecision::full, AfterNumber::blank) == 1)
    return std::to_string(whole);
  if (form == 'f' && scan(word, "%f", {&number}, ScanPrecision::full, AfterNumber::blank) == 1)
    return shortestText(number);
  return std::nullopt;
}

}  // namespace

std::string shortestText(double number) {
  std::array<char, kMostCharacters> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::optional<FormedLine> formedLine(const TextLine& line, std::string_view form) {
  const std::string_view text = readPartOf(line);
  FormedLine formed;
  std::size_t end = 0, copied = 0;
  for (const char one : form) {
    const std::size_t start = text.find_first_not_of(kBlanks, end);
    if (start == std::string_view::npos) return std::nullopt;
    end = std::min(text.find_first_of(kBlanks, start), text.size());
    const auto word = inForm(text.substr(start, end - start), one);
    if (!word) return std::nullopt;
    formed.cut = formed.cut || word->size() != end - start;
    formed.text.append(text, copied, start - copied).append(*word);
    copied = end;
    formed.words.push_back(*word);
  }
  const bool isMore = text.size() < line.text.size() || !trimmed(text.substr(end)).empty();
  if (!isMore) formed.text.append(text, end);
  formed.cut = formed.cut || isMore;
  return formed;
}

}  // namespace ctfmeg::edit
