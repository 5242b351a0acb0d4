#pragma once

#include <cstdint>
#include <span>

namespace ctfmeg {

/// Writes each of `values` divided by `divisor`, the nearest double, to the front of `out`, which is as long.
void divideEach(std::span<const std::int32_t> values, double divisor, std::span<double> out);

/// Does so by the machine's division, for comparison.
void divideEachPlainly(std::span<const std::int32_t> values, double divisor, std::span<double> out);

}  // namespace ctfmeg
