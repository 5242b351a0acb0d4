#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace ctfmeg {

/// Samples of one channel that are summed up at once: so few that those of all references stay in the memory
/// nearest to the processor.
struct alignas(64) SampleTile {
  static constexpr std::size_t kSamples = 64;
  std::array<double, kSamples> samples;
};

/// How much of a reference is subtracted.
struct WeightedTile {
  std::size_t tile = 0;
  double weight = 0.0;
};

/// out = values - sum of weight x tile, for `count` samples, at most as many as a tile has. `out` may be
/// `values`. A sample's result does not depend on which others are summed up with it.
void subtractTiles(const double* values, std::span<const SampleTile> tiles,
                   std::span<const WeightedTile> weights, std::size_t count, double* out);

/// out[i] = sum over k of weights[k] x values[i x step + k], for `count` sums. A sum does not depend on which
/// others are made with it.
void weightedSums(std::span<const double> weights, const double* values, std::size_t step, std::size_t count,
                  double* out);

}  // namespace ctfmeg
