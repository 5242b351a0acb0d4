#include "base/dates.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <vector>

#include "base/encoding.h"

namespace ctfmeg {
namespace {

constexpr std::array<std::string_view, 12> kMonths{"january",   "february", "march",    "april",
                                                   "may",       "june",     "july",     "august",
                                                   "september", "october",  "november", "december"};

bool isDecimal(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return c >= 'a' && c <= 'z'; }

/// Runs of digits and of letters; what separates them is dropped. Nothing where it is not one of
/// `separators`.
std::optional<std::vector<std::string>> wordsOf(std::string_view given, std::string_view separators) {
  std::vector<std::string> words;
  char before = ' ';
  for (const char c : lowered(std::string(given))) {
    const bool digit = isDecimal(c), letter = isLetter(c);
    if (!digit && !letter && separators.find(c) == std::string_view::npos) return std::nullopt;
    if ((digit && !isDecimal(before)) || (letter && !isLetter(before))) words.emplace_back();
    if (digit || letter) words.back() += c;
    before = c;
  }
  return words;
}

bool isNumber(const std::string& word) { return isDecimal(word[0]) && word.size() <= 8; }

int numberOf(std::string_view digits) {
  int number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

/// 1 to 12; 0 for a word that is no month: its name, or at least three letters of it.
int monthOf(const std::string& word) {
  const auto* const found = std::find_if(kMonths.begin(), kMonths.end(), [&](std::string_view month) {
    return word.size() >= 3 && month.starts_with(word);
  });
  return found == kMonths.end() ? 0 : static_cast<int>(found - kMonths.begin()) + 1;
}

std::optional<Date> existing(int year, int month, int day) {
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  return year >= 1900 && date.ok() ? std::optional(Date{year, month, day}) : std::nullopt;
}

int yearAfterMonth(const std::string& word) {
  const int number = numberOf(word);
  if (word.size() == 2) return number < 70 ? 2000 + number : 1900 + number;
  return word.size() == 4 ? number : 0;
}

}  // namespace

std::optional<Date> parseDate(std::string_view text) {
  const auto words = wordsOf(text, "-/. ,");
  if (!words) return std::nullopt;
  if (words->size() == 1 && words->front().size() == 8 && isNumber(words->front())) {
    const std::string_view digits = words->front();
    return existing(numberOf(digits.substr(0, 4)), numberOf(digits.substr(4, 2)), numberOf(digits.substr(6)));
  }
  if (words->size() != 3 || !isNumber(words->back())) return std::nullopt;
  const std::string &first = (*words)[0], &second = (*words)[1], &third = (*words)[2];
  if (isNumber(first) && monthOf(second) > 0)
    return existing(yearAfterMonth(third), monthOf(second), numberOf(first));
  if (isNumber(second) && monthOf(first) > 0)
    return existing(yearAfterMonth(third), monthOf(first), numberOf(second));
  if (!isNumber(first) || !isNumber(second)) return std::nullopt;
  const int a = numberOf(first), b = numberOf(second), c = numberOf(third);
  if (first.size() == 4) return existing(a, b, c);
  if (third.size() != 4 || (a <= 12 && b <= 12 && a != b)) return std::nullopt;
  return a > 12 ? existing(c, b, a) : existing(c, a, b);
}

std::optional<TimeOfDay> parseTimeOfDay(std::string_view text) {
  auto words = wordsOf(text, ":. ");
  if (!words || words->empty()) return std::nullopt;
  const std::string half = words->back() == "am" || words->back() == "pm" ? words->back() : "";
  if (!half.empty()) words->pop_back();
  if (words->size() < 2 || words->size() > 4 || !std::all_of(words->begin(), words->end(), isNumber))
    return std::nullopt;
  int hour = numberOf((*words)[0]);
  const int minute = numberOf((*words)[1]), second = words->size() > 2 ? numberOf((*words)[2]) : 0;
  if (!half.empty() && (hour < 1 || hour > 12)) return std::nullopt;
  if (!half.empty()) hour = hour % 12 + (half == "pm" ? 12 : 0);
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  return TimeOfDay{hour, minute, second};
}

std::string isoDate(const Date& date) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", date.year, date.month, date.day);
  return text.data();
}

std::string isoDateTime(std::string_view date, std::string_view time) {
  const auto day = parseDate(date);
  const auto clock = parseTimeOfDay(time);
  if (!day || !clock) return "";
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "T%02d:%02d:%02d", clock->hour, clock->minute, clock->second);
  return isoDate(*day) + text.data();
}

}  // namespace ctfmeg
