#include "signal/block.h"

#include <algorithm>

#include "base/wide_instructions.h"

// Simple loops that the compiler makes wide instructions of. What is inline is part of both forms of `sumUp`.

#define INLINE inline __attribute__((always_inline))

namespace ctfmeg {
namespace {

/// to - from, without what exceeds 32 bits.
INLINE std::int32_t difference(std::int32_t from, std::int32_t to) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from));
}

/// The sums of samples from `first` on, in 32 bits but for the squares. They are right where all samples
/// differ by less than 2^21, as those of most blocks do; the range is right anyway.
INLINE void sumNarrow(const std::int32_t* samples, std::size_t first, std::size_t count, Block& block) {
  const std::int32_t base = block.base;
  std::int32_t min = base, max = base, largest = 0, equal = 0;
  std::uint32_t sum = 0, stepSum = 0;
  std::uint64_t squares = 0;
  for (std::size_t i = first; i < count; ++i) {
    const std::int32_t sample = samples[i];
    min = std::min(min, sample);
    max = std::max(max, sample);
    const std::int32_t change = difference(samples[i - 1], sample);
    const std::int32_t step = std::max(change, difference(change, 0));
    largest = std::max(largest, step);
    stepSum += static_cast<std::uint32_t>(step);
    equal += change == 0 ? 1 : 0;
  }
  for (std::size_t i = first; i < count; ++i) {
    const std::int32_t distance = difference(base, samples[i]);
    sum += static_cast<std::uint32_t>(distance);
    squares += static_cast<std::uint64_t>(std::int64_t{distance} * distance);
  }
  block.min = min;
  block.max = max;
  block.sum = static_cast<std::int32_t>(sum);
  block.squaresLow = squares;
  block.largestStep = static_cast<std::uint32_t>(largest);
  block.stepSum = stepSum;
  block.equalSteps = static_cast<std::size_t>(equal);
}

/// The sums of any samples.
INLINE void sumWide(const std::int32_t* samples, std::size_t first, std::size_t count, Block& block) {
  const std::int64_t base = block.base;
  std::int64_t sum = 0;
  std::uint64_t low = 0, high = 0, stepSum = 0, equal = 0;
  std::uint32_t largest = 0;
  for (std::size_t i = first; i < count; ++i) {
    const std::uint64_t distance = stepBetween(block.base, samples[i]);
    const std::uint64_t square = distance * distance;
    sum += samples[i] - base;
    low += square & 0xFFFFFFFFU;
    high += square >> 32U;
    const std::uint32_t step = stepBetween(samples[i - 1], samples[i]);
    largest = step > largest ? step : largest;
    stepSum += step;
    equal += step == 0 ? 1 : 0;
  }
  block.sum = sum;
  block.squaresLow = low;
  block.squaresHigh = high;
  block.largestStep = largest;
  block.stepSum = stepSum;
  block.equalSteps = equal;
}

INLINE Block sumUpHere(const std::int32_t* samples, std::size_t count, bool goesOn) {
  constexpr std::uint32_t kNarrow = 1U << 21U;
  const std::size_t first = goesOn ? 0 : 1;
  Block block{.base = samples[0], .steps = count - first};
  sumNarrow(samples, first, count, block);
  const std::int32_t before = goesOn ? samples[-1] : samples[0];
  if (stepBetween(std::min(block.min, before), std::max(block.max, before)) >= kNarrow)
    sumWide(samples, first, count, block);
  return block;
}

WIDE_INSTRUCTIONS Block sumUpWide(const std::int32_t* samples, std::size_t count, bool goesOn) {
  return sumUpHere(samples, count, goesOn);
}

}  // namespace

Block sumUpPlainly(const std::int32_t* samples, std::size_t count, bool goesOn) {
  return sumUpHere(samples, count, goesOn);
}

Block sumUp(const std::int32_t* samples, std::size_t count, bool goesOn) {
  return machineHasWideInstructions() ? sumUpWide(samples, count, goesOn)
                                      : sumUpPlainly(samples, count, goesOn);
}

}  // namespace ctfmeg
