#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>

namespace ctfmeg {

inline constexpr std::int64_t kCountOverflow = std::numeric_limits<std::int64_t>::max();

/// Product of counts; 0 when one is below 1, `kCountOverflow` when it does not fit.
constexpr std::int64_t countProduct(std::initializer_list<std::int64_t> counts) {
  std::int64_t product = 1;
  for (const std::int64_t count : counts) {
    if (count < 1) return 0;
    product = product > kCountOverflow / count ? kCountOverflow : product * count;
  }
  return product;
}

}  // namespace ctfmeg
