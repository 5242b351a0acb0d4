#include "edit/line_form.h"

#include <algorithm>

#include "base/encoding.h"
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

bool hasForm(std::string_view word, char form) {
  return form == 's' || (form == 'd' ? isInteger(word) : isFraction(word));
}

}  // namespace

std::optional<FormedLine> formedLine(const TextLine& line, std::string_view form) {
  const std::string_view text = readPartOf(line);
  FormedLine formed;
  std::size_t end = 0;
  for (const char one : form) {
    const std::size_t start = text.find_first_not_of(kBlanks, end);
    if (start == std::string_view::npos) return std::nullopt;
    end = std::min(text.find_first_of(kBlanks, start), text.size());
    formed.words.emplace_back(text.substr(start, end - start));
    if (!hasForm(formed.words.back(), one)) return std::nullopt;
  }
  formed.cut = text.size() < line.text.size() || !trimmed(text.substr(end)).empty();
  formed.text = formed.cut ? text.substr(0, end) : text;
  return formed;
}

}  // namespace ctfmeg::edit
