#include "edit/shifted_dates.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

#include "base/encoding.h"

namespace ctfmeg::edit {
namespace {

constexpr std::array<std::string_view, 12> kMonthNames{"January",   "February", "March",    "April",
                                                       "May",       "June",     "July",     "August",
                                                       "September", "October",  "November", "December"};
constexpr std::size_t kShortName = 3;

bool isNumeral(char c) { return c >= '0' && c <= '9'; }
bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string digits(int number, std::size_t width) {
  std::string text = std::to_string(number);
  return text.insert(0, width > text.size() ? width - text.size() : 0, '0');
}

std::string_view nameOfMonth(const Date& date) {
  return kMonthNames[static_cast<std::size_t>(date.month) - 1];
}

/// A run of digits or of letters in a text.
struct DatePart {
  std::size_t start = 0, length = 0;
  bool isWord = false;
};

std::vector<DatePart> partsOf(std::string_view text) {
  std::vector<DatePart> parts;
  for (std::size_t i = 0; i < text.size();) {
    const bool word = isAsciiLetter(text[i]);
    std::size_t end = i;
    while (end < text.size() && (word ? isAsciiLetter(text[end]) : isNumeral(text[end])))
      ++end;
    if (end > i) parts.push_back({i, end - i, word});
    i = std::max(end, i + 1);
  }
  return parts;
}

/// The month's name as long as the one before it, and in its case.
std::string monthLike(std::string_view before, const Date& date) {
  const std::string_view full = nameOfMonth(date);
  std::string name(before.size() > kShortName ? full : full.substr(0, kShortName));
  const bool lower = before[0] >= 'a', upper = !lower && before[1] < 'a';
  if (lower) return lowered(name);
  if (upper)
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  return name;
}

int numberIn(std::string_view text, const DatePart& part) {
  int number = 0;
  std::from_chars(text.data() + part.start, text.data() + part.start + part.length, number);
  return number;
}

enum class PartOfDate { day, month, year };

/// What the three parts of a date are, as `parseDate` takes them. Where day and month are one number, the day
/// is first, as the system writes it.
std::array<PartOfDate, 3> orderOf(std::string_view text, const std::vector<DatePart>& parts) {
  using enum PartOfDate;
  if (parts[0].isWord) return {month, day, year};
  if (!parts[1].isWord && parts[0].length == 4) return {year, month, day};
  if (!parts[1].isWord && numberIn(text, parts[1]) > 12) return {month, day, year};
  return {day, month, year};
}

std::string written(const Date& date, PartOfDate what, std::string_view before) {
  switch (what) {
    case PartOfDate::day:
      return digits(date.day, before.size());
    case PartOfDate::month:
      return isAsciiLetter(before[0]) ? monthLike(before, date) : digits(date.month, before.size());
    case PartOfDate::year:
      break;
  }
  return digits(before.size() == 2 ? date.year % 100 : date.year, before.size());
}

/// A timestamp up to the fraction of its seconds.
std::string_view withoutFraction(std::string_view text) {
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos || !std::all_of(text.begin() + point + 1, text.end(), isNumeral))
    return text;
  return text.substr(0, point);
}

std::vector<std::string> withoutRepeats(std::vector<std::string> forms) {
  std::sort(forms.begin(), forms.end());
  forms.erase(std::unique(forms.begin(), forms.end()), forms.end());
  return forms;
}

}  // namespace

std::optional<Date> shifted(const Date& date, std::int64_t days) {
  using namespace std::chrono;
  const sys_days day{year(date.year) / date.month / date.day};
  constexpr std::int64_t kMostDays = 10'000'000;  // more than there are from 1900 to 9999
  if (days < -kMostDays || days > kMostDays) return std::nullopt;
  const year_month_day moved{day + std::chrono::days(days)};
  const int inYear = static_cast<int>(moved.year());
  if (inYear < 1900 || inYear > 9999) return std::nullopt;
  return Date{inYear, static_cast<int>(static_cast<unsigned>(moved.month())),
              static_cast<int>(static_cast<unsigned>(moved.day()))};
}

std::optional<std::string> shiftedDate(std::string_view text, std::int64_t days) {
  const auto date = parseDate(text);
  const auto moved = date ? shifted(*date, days) : std::nullopt;
  if (!moved) return std::nullopt;
  const auto parts = partsOf(text);
  if (parts.size() == 1) return digits(moved->year, 4) + digits(moved->month, 2) + digits(moved->day, 2);
  const auto order = orderOf(text, parts);
  std::string result;
  std::size_t copied = 0;
  for (std::size_t i = 0; i < order.size(); ++i) {
    result.append(text, copied, parts[i].start - copied);
    result += written(*moved, order[i], text.substr(parts[i].start, parts[i].length));
    copied = parts[i].start + parts[i].length;
  }
  result.append(text, copied);
  // A year of two digits may be out of their hundred years.
  const auto read = parseDate(result);
  if (read && read->year != moved->year) return std::nullopt;
  return result;
}

std::optional<Date> dateOfTimestamp(std::string_view text) {
  constexpr std::size_t kDay = 8, kWhole = 14, kIsoDay = 10, kIsoWhole = 19;
  const std::string_view clock = withoutFraction(text);
  if (clock.size() == kIsoWhole && (clock[kIsoDay] == ' ' || clock[kIsoDay] == 'T') && clock[4] == '-') {
    const bool isTime = clock[13] == ':' && clock[16] == ':' && parseTimeOfDay(clock.substr(kIsoDay + 1));
    return isTime ? parseDate(clock.substr(0, kIsoDay)) : std::nullopt;
  }
  if (clock.size() != kWhole && text.size() != kDay) return std::nullopt;
  if (!std::all_of(clock.begin(), clock.end(), isNumeral)) return std::nullopt;
  if (clock.size() == kWhole) {
    std::string time(clock.substr(kDay));
    time.insert(4, ":").insert(2, ":");
    if (!parseTimeOfDay(time)) return std::nullopt;
  }
  return parseDate(clock.substr(0, kDay));
}

std::optional<std::string> shiftedTimestamp(std::string_view text, std::int64_t days) {
  const auto date = dateOfTimestamp(text);
  const auto moved = date ? shifted(*date, days) : std::nullopt;
  if (!moved) return std::nullopt;
  const std::string between = text[4] == '-' ? "-" : "";
  const std::string day =
      digits(moved->year, 4) + between + digits(moved->month, 2) + between + digits(moved->day, 2);
  return day + std::string(withoutFraction(text).substr(day.size()));
}

std::vector<Date> possibleDates(std::string_view text) {
  if (const auto date = parseDate(text)) return {*date};
  const auto parts = partsOf(text);
  std::vector<Date> dates;
  if (parts.size() != 3 || std::any_of(parts.begin(), parts.end(), [](const auto& p) { return p.isWord; }))
    return dates;
  const auto numeral = [&](std::size_t i) {
    return std::string(text.substr(parts[i].start, parts[i].length));
  };
  for (const auto& [month, day] : {std::pair<std::size_t, std::size_t>{0, 1}, {1, 0}})
    if (const auto date = parseDate(numeral(2) + "-" + numeral(month) + "-" + numeral(day)))
      dates.push_back(*date);
  return dates;
}

std::vector<std::string> usualForms(const Date& date) {
  const std::string year = digits(date.year, 4), month = digits(date.month, 2), day = digits(date.day, 2);
  std::vector<std::string> forms{year + month + day};
  for (const char* between : {"-", "/", ".", " ", "_", ""}) {
    const auto three = [&](const auto& a, const auto& b, const auto& c) {
      forms.push_back(std::string(a).append(between).append(b).append(between).append(c));
    };
    for (const std::string& number : {day, std::to_string(date.day)})
      for (const std::string_view name : {nameOfMonth(date), nameOfMonth(date).substr(0, kShortName)}) {
        three(number, name, year);
        three(name, number, year);
        three(year, name, number);
        three(number, name, year.substr(2));
      }
    if (*between == '\0') continue;
    three(day, month, year);
    three(month, day, year);
    three(year, month, day);
    const std::string shortMonth = std::to_string(date.month), shortDay = std::to_string(date.day);
    three(shortDay, shortMonth, year);
    three(shortMonth, shortDay, year);
  }
  for (const std::string_view name : {nameOfMonth(date), nameOfMonth(date).substr(0, kShortName)})
    for (const std::string& number : {day, std::to_string(date.day)})
      forms.push_back(std::string(name).append(" ").append(number).append(", ").append(year));
  return withoutRepeats(std::move(forms));
}

std::vector<std::string> shortForms(const Date& date) {
  const std::string year = digits(date.year, 4), month = digits(date.month, 2), day = digits(date.day, 2);
  const std::string ofCentury = year.substr(2);
  std::vector<std::string> forms{day + month + year, month + day + year, ofCentury + month + day,
                                 day + month + ofCentury};
  for (const char* between : {"-", "/", ".", "_"})
    for (const auto& [m, d] : {std::pair(month, day), {std::to_string(date.month), std::to_string(date.day)}})
      for (const auto& [a, b, c] : {std::array{d, m, ofCentury}, {m, d, ofCentury}, {ofCentury, m, d}})
        forms.push_back(std::string(a).append(between).append(b).append(between).append(c));
  return withoutRepeats(std::move(forms));
}

}  // namespace ctfmeg::edit
