#include "signal/weighted_sum.h"

#include <cstring>

#include "base/wide_instructions.h"

// A matrix product of which each row has its own few references. What is inline is part of both forms of
// `subtractTiles`.

#define INLINE inline __attribute__((always_inline))

namespace ctfmeg {
namespace {

/// Four samples, one for each lane of a register.
using Lanes [[gnu::vector_size(4 * sizeof(double))]] = double;

INLINE void load(Lanes& lanes, const double* from) { std::memcpy(&lanes, from, sizeof lanes); }

INLINE void subtract(Lanes& sum, double weight, const double* row) {
  Lanes lanes;
  load(lanes, row);
  sum -= weight * lanes;
}

INLINE void store(double* to, const Lanes& lanes) { std::memcpy(to, &lanes, sizeof lanes); }

constexpr std::size_t kSamples = 32;  // that are summed up at once

/// The sums stay in registers, so that a reference's samples cost one load and one product for four.
INLINE void subtractFew(const double* values, const SampleTile* tiles, std::size_t first,
                        std::span<const WeightedTile> weights, double* out) {
  Lanes a, b, c, d, e, f, g, h;
  load(a, values);
  load(b, values + 4);
  load(c, values + 8);
  load(d, values + 12);
  load(e, values + 16);
  load(f, values + 20);
  load(g, values + 24);
  load(h, values + 28);
  for (const auto& [tile, weight] : weights) {
    const double* samples = tiles[tile].samples.data() + first;
    subtract(a, weight, samples);
    subtract(b, weight, samples + 4);
    subtract(c, weight, samples + 8);
    subtract(d, weight, samples + 12);
    subtract(e, weight, samples + 16);
    subtract(f, weight, samples + 20);
    subtract(g, weight, samples + 24);
    subtract(h, weight, samples + 28);
  }
  store(out, a);
  store(out + 4, b);
  store(out + 8, c);
  store(out + 12, d);
  store(out + 16, e);
  store(out + 20, f);
  store(out + 24, g);
  store(out + 28, h);
}

INLINE void subtractHere(const double* values, const SampleTile* tiles, std::span<const WeightedTile> weights,
                         std::size_t count, double* out) {
  std::size_t i = 0;
  for (; i + kSamples <= count; i += kSamples)
    subtractFew(values + i, tiles, i, weights, out + i);
  for (; i < count; ++i) {
    double sum = values[i];
    for (const auto& [tile, weight] : weights)
      sum -= weight * tiles[tile].samples[i];
    out[i] = sum;
  }
}

WIDE_INSTRUCTIONS void subtractWide(const double* values, const SampleTile* tiles,
                                    std::span<const WeightedTile> weights, std::size_t count, double* out) {
  subtractHere(values, tiles, weights, count, out);
}

}  // namespace

void subtractTiles(const double* values, std::span<const SampleTile> tiles,
                   std::span<const WeightedTile> weights, std::size_t count, double* out) {
  if (machineHasWideInstructions())
    subtractWide(values, tiles.data(), weights, count, out);
  else
    subtractHere(values, tiles.data(), weights, count, out);
}

}  // namespace ctfmeg
