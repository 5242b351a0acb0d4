#pragma once

#include <cstdint>
#include <string>

namespace ctfmeg::output {

/// The shortest text that reads back as the same number: "1200", "2.86e+09".
std::string shortest(double value);

/// For people: ten digits, as short as they can be.
std::string rounded(double value);

/// For people: six digits, as short as they can be.
std::string brief(double value);

/// For people: three digits after the point.
std::string seconds(double value);

/// For people: one digit after the point.
std::string millimetres(double value);

/// For people: "3.4 MB", decimal units.
std::string bytes(std::int64_t value);

}  // namespace ctfmeg::output
