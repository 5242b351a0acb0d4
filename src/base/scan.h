#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

namespace ctfmeg {

/// Where a conversion goes: %d to an integer, %f to a number, %s to a word.
using ScanTarget = std::variant<std::int32_t*, double*, std::string*>;

enum class ScanPrecision { single, full };

/// What may follow a number: anything, so that "0,5" is 0 and a rest, or only a blank or the end of the line.
enum class AfterNumber { anything, blank };

/// Scans `line` by `format` and returns how many conversions succeeded. White space in the format matches any
/// run of it, also none; %d, %f and %s skip white space first; other characters match themselves. ASCII
/// digits and no locale; an integer that does not fit is clamped; with `single`, numbers are rounded to
/// single precision.
int scan(std::string_view line, std::string_view format, std::initializer_list<ScanTarget> targets,
         ScanPrecision precision, AfterNumber after = AfterNumber::anything);

}  // namespace ctfmeg
