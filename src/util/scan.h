#pragma once

#include <cstdint>
#include <initializer_list>
#include <variant>

#include <megreader/framework/cstring.h>
#include <megreader/reader/reading_rules.h>

/// Where a conversion goes: %d to an integer, %f to a number, %s to a word.
using ScanTarget = std::variant<std::int32_t*, double*, CString*>;

enum class ScanPrecision { single, full };

/// The precision of numbers in text files.
ScanPrecision precisionOf(const ReadingRules& rules);

/// Scans `line` by `format` and returns how many conversions succeeded. White space in the format matches any
/// run of it, also none; %d, %f and %s skip white space first; other characters match themselves. ASCII
/// digits and no locale; an integer that does not fit is clamped; with `single`, numbers are rounded to
/// single precision.
int scan(const CString& line, const wchar_t* format, std::initializer_list<ScanTarget> targets,
         ScanPrecision precision);
