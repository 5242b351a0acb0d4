#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ctfmeg {

/// A day of the Gregorian calendar, and a time of that day.
struct Date {
  int year = 0, month = 0, day = 0;
};
struct TimeOfDay {
  int hour = 0, minute = 0, second = 0;  ///< fractions of a second are dropped
};

// What acquisition software of different years writes. Nothing where it can't be told what is meant, or
// where there is no such day or time.

/// "29-Apr-2013", "29 April 2013", "Apr 29, 2013", "29/04/2013" (only where one of the first two numbers is
/// above 12), "2013-04-29", "20130429". Years of two digits, after the name of a month only, are 1970 to
/// 2069.
std::optional<Date> parseDate(std::string_view text);
/// "9:36", "09:36:12", "09:36:12.5", each also with "AM" or "PM".
std::optional<TimeOfDay> parseTimeOfDay(std::string_view text);

/// "2013-04-29", as ISO 8601 has it.
std::string isoDate(const Date& date);
/// "2013-04-29T09:36:00"; empty where the date or the time can't be understood.
std::string isoDateTime(std::string_view date, std::string_view time);

}  // namespace ctfmeg
