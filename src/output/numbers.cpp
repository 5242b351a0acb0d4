#include "output/numbers.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace ctfmeg::output {

std::string shortest(double value) {
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  return {text.data(), end};
}

std::string rounded(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.10g", value);
  return text.data();
}

std::string brief(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.6g", value);
  return text.data();
}

std::string seconds(double value) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.3f s", value);
  return text.data();
}

std::string millimetres(double value) {
  std::array<char, 340> text{};  // as long as a double can get
  std::snprintf(text.data(), text.size(), "%.1f", value);
  return text.data();
}

std::string bytes(std::int64_t value) {
  constexpr std::array<const char*, 5> units{"bytes", "kB", "MB", "GB", "TB"};
  if (value < 1000) return std::to_string(value) + " bytes";
  auto scaled = static_cast<double>(value);
  std::size_t unit = 0;
  for (; scaled >= 999.95 && unit + 1 < units.size(); ++unit)
    scaled /= 1000.0;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f %s", scaled, units[unit]);
  return text.data();
}

}  // namespace ctfmeg::output
