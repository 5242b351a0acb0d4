#include "signal/weighted_sum.h"

#include <cstring>

#include "base/wide_instructions.h"

// A matrix product of which each row has its own few references, and the products of a filter. What is inline
// is part of both forms of each.

#define INLINE inline __attribute__((always_inline))

namespace ctfmeg {
namespace {

/// Four samples, one for each lane of a register.
using Doubles [[gnu::vector_size(4 * sizeof(double))]] = double;

INLINE void load(Doubles& lanes, const double* from) { std::memcpy(&lanes, from, sizeof lanes); }

INLINE void subtract(Doubles& sum, double weight, const double* row) {
  Doubles lanes;
  load(lanes, row);
  sum -= weight * lanes;
}

INLINE void store(double* to, const Doubles& lanes) { std::memcpy(to, &lanes, sizeof lanes); }

constexpr std::size_t kSamples = 32;  // that are summed up at once

/// The sums stay in registers, so that a reference's samples cost one load and one product for four.
INLINE void subtractFew(const double* values, const SampleTile* tiles, std::size_t first,
                        std::span<const WeightedTile> weights, double* out) {
  Doubles a, b, c, d, e, f, g, h;
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

INLINE void add(Doubles& sum, const Doubles& weights, const double* from) {
  Doubles lanes;
  load(lanes, from);
  sum += weights * lanes;
}

INLINE double total(const Doubles& a, const Doubles& b) {
  const Doubles sum = a + b;
  return (sum[0] + sum[1]) + (sum[2] + sum[3]);
}

/// Four sums, so that a weight is loaded once for all of them; each is added up in eight lanes.
INLINE void sumFour(std::span<const double> weights, const double* values, std::size_t step, double* out) {
  Doubles a{}, b{}, c{}, d{}, e{}, f{}, g{}, h{};
  std::size_t k = 0;
  for (; k + 8 <= weights.size(); k += 8) {
    Doubles first, second;
    load(first, weights.data() + k);
    load(second, weights.data() + k + 4);
    const double* from = values + k;
    add(a, first, from);
    add(b, second, from + 4);
    from += step;
    add(c, first, from);
    add(d, second, from + 4);
    from += step;
    add(e, first, from);
    add(f, second, from + 4);
    from += step;
    add(g, first, from);
    add(h, second, from + 4);
  }
  if (k + 4 <= weights.size()) {
    Doubles first;
    load(first, weights.data() + k);
    add(a, first, values + k);
    add(c, first, values + k + step);
    add(e, first, values + k + 2 * step);
    add(g, first, values + k + 3 * step);
    k += 4;
  }
  Doubles rest{};
  for (; k < weights.size(); ++k)
    rest += weights[k] * Doubles{values[k], values[k + step], values[k + 2 * step], values[k + 3 * step]};
  store(out, Doubles{total(a, b), total(c, d), total(e, f), total(g, h)} + rest);
}

/// All sums come from one call of `sumFour`, so that they are added up alike.
INLINE void sumHere(std::span<const double> weights, const double* values, std::size_t step,
                    std::size_t count, double* out) {
  for (std::size_t i = 0; i < count;) {
    const bool four = count - i >= 4;
    double sums[4];
    sumFour(weights, values + i * step, four ? step : 0, sums);
    const std::size_t done = four ? 4 : 1;
    std::memcpy(out + i, sums, done * sizeof(double));
    i += done;
  }
}

WIDE_INSTRUCTIONS void sumWide(std::span<const double> weights, const double* values, std::size_t step,
                               std::size_t count, double* out) {
  sumHere(weights, values, step, count, out);
}

}  // namespace

void subtractTiles(const double* values, std::span<const SampleTile> tiles,
                   std::span<const WeightedTile> weights, std::size_t count, double* out) {
  if (machineHasWideInstructions())
    subtractWide(values, tiles.data(), weights, count, out);
  else
    subtractHere(values, tiles.data(), weights, count, out);
}

void weightedSums(std::span<const double> weights, const double* values, std::size_t step, std::size_t count,
                  double* out) {
  if (machineHasWideInstructions())
    sumWide(weights, values, step, count, out);
  else
    sumHere(weights, values, step, count, out);
}

}  // namespace ctfmeg
