#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/dates.h"

// Dates moved by days, in the form in which they were written.

namespace ctfmeg::edit {

/// Nothing where the day is before the year 1900 or after 9999, which are no dates to a reader.
std::optional<Date> shifted(const Date& date, std::int64_t days);

/// A text that `parseDate` understands, moved: "29-Apr-2013" becomes "06-May-2013". Nothing where it is not
/// understood, or there is no such date in that form.
std::optional<std::string> shiftedDate(std::string_view text, std::int64_t days);

/// Of "YYYYMMDDHHMMSS", "YYYYMMDD" or "YYYY-MM-DD HH:MM:SS"; seconds may have a fraction.
std::optional<Date> dateOfTimestamp(std::string_view text);
/// In the same form, without the fraction.
std::optional<std::string> shiftedTimestamp(std::string_view text, std::int64_t days);

/// All days that a text of three numbers may mean, such as "03/04/2013", or the one that it does.
std::vector<Date> possibleDates(std::string_view text);

/// A date in the forms in which files have it: "29-Apr-2013", "29/04/2013", "04/29/2013", "2013-04-29",
/// "20130429" and others.
std::vector<std::string> usualForms(const Date& date);
/// Forms that other numbers may have, too: "29042013", "29-04-13", "4/29/13", "130429" and others.
std::vector<std::string> shortForms(const Date& date);

}  // namespace ctfmeg::edit
