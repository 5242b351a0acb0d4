#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include <ctfmeg/overview.h>

namespace ctfmeg {

/// Of no values: min is above max.
inline constexpr Extremes kNoExtremes{std::numeric_limits<double>::infinity(),
                                      -std::numeric_limits<double>::infinity()};

inline void widen(Extremes& extremes, const Extremes& by) {
  extremes.min = std::min(extremes.min, by.min);
  extremes.max = std::max(extremes.max, by.max);
}

/// Of so many values; missing ones are passed over.
Extremes extremesOf(const double* values, std::int64_t count);

}  // namespace ctfmeg
