#include "signal/block.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "base/wide_instructions.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace ctfmeg {
namespace {

Block emptyBlock(const std::int32_t* samples, std::size_t count, bool goesOn) {
  return {.base = samples[0], .min = samples[0], .max = samples[0], .steps = goesOn ? count : count - 1};
}

/// Whatever the samples are: simple loops that the compiler makes wide instructions of, inlined to be
/// compiled for different machines.
inline __attribute__((always_inline)) Block sumUpAny(const std::int32_t* samples, std::size_t count,
                                                     bool goesOn) {
  Block block = emptyBlock(samples, count, goesOn);
  const std::int32_t base = block.base;
  std::int32_t min = base, max = base;
  std::int64_t sum = 0;
  std::uint64_t low = 0, high = 0;  // squares = low + high x 2^32
  for (std::size_t i = 1; i < count; ++i) {
    min = std::min(min, samples[i]);
    max = std::max(max, samples[i]);
    sum += std::int64_t{samples[i]} - base;
    const std::uint64_t distance = stepBetween(base, samples[i]);
    const std::uint64_t square = distance * distance;
    low += square & 0xFFFFFFFFU;
    high += square >> 32U;
  }
  block.min = min;
  block.max = max;
  block.sum = sum;
  block.squares = (Sum{high} << 32U) + low;

  std::uint32_t largest = 0;
  std::uint64_t stepSum = 0, repeated = 0;
  for (std::size_t i = count - block.steps; i < count; ++i) {
    const std::uint32_t step = stepBetween(samples[static_cast<std::ptrdiff_t>(i) - 1], samples[i]);
    largest = std::max(largest, step);
    stepSum += step;
  }
  for (std::size_t i = 2; i < count; ++i) {
    const bool once = samples[i] == samples[i - 1], twice = samples[i] == samples[i - 2];
    repeated += once && twice ? 1 : 0;
  }
  block.largestStep = largest;
  block.stepSum = stepSum;
  block.repeated = repeated;
  return block;
}

#if defined(__x86_64__)

#define WIDE_INLINE WIDE_INSTRUCTIONS inline __attribute__((always_inline))

/// Eight samples or what is summed up of them, each in a lane of its own.
using Lanes = __m256i;
constexpr std::size_t kLanes = 8;

WIDE_INLINE Lanes load(const std::int32_t* samples) {
  return _mm256_loadu_si256(reinterpret_cast<const Lanes*>(samples));
}

template <class T>
WIDE_INLINE auto each(Lanes lanes) {
  std::array<T, kLanes * sizeof(std::int32_t) / sizeof(T)> values{};
  _mm256_storeu_si256(reinterpret_cast<Lanes*>(values.data()), lanes);
  return values;
}

template <class T>
WIDE_INLINE T total(Lanes lanes) {
  const auto values = each<T>(lanes);
  return std::accumulate(values.begin(), values.end(), T{0});
}

WIDE_INLINE std::int32_t least(Lanes lanes) {
  const auto values = each<std::int32_t>(lanes);
  return std::accumulate(values.begin(), values.end(), values[0],
                         [](auto a, auto b) { return std::min(a, b); });
}

WIDE_INLINE std::int32_t greatest(Lanes lanes) {
  const auto values = each<std::int32_t>(lanes);
  return std::accumulate(values.begin(), values.end(), values[0],
                         [](auto a, auto b) { return std::max(a, b); });
}

/// What is summed up in lanes. Sums leave out what exceeds 32 bits, those of squares what exceeds 64.
struct LaneSums {
  Lanes min, max;
  Lanes sum = _mm256_setzero_si256(), squares = sum, largestStep = sum, stepSum = sum, repeated = sum;

  WIDE_INLINE explicit LaneSums(Lanes base) : min(base), max(base) {}

  /// Adds samples, of which those one before and two before are needed, too.
  WIDE_INLINE void add(Lanes now, Lanes before, Lanes earlier) {
    min = _mm256_min_epi32(min, now);
    max = _mm256_max_epi32(max, now);
    sum = _mm256_add_epi32(sum, now);
    const Lanes odd = _mm256_srli_epi64(now, 32);  // products are of every other lane
    squares = _mm256_add_epi64(squares, _mm256_mul_epi32(now, now));
    squares = _mm256_add_epi64(squares, _mm256_mul_epi32(odd, odd));
    const Lanes step = _mm256_abs_epi32(_mm256_sub_epi32(now, before));
    largestStep = _mm256_max_epi32(largestStep, step);
    stepSum = _mm256_add_epi32(stepSum, step);
    const Lanes equal = _mm256_and_si256(_mm256_cmpeq_epi32(now, before), _mm256_cmpeq_epi32(now, earlier));
    repeated = _mm256_sub_epi32(repeated, equal);  // equal is -1
  }
};

/// Right where all samples, and the one before them, differ by less than 2^21, as those of most blocks do.
/// The range is right anyway.
WIDE_INLINE Block sumUpNarrow(const std::int32_t* samples, std::size_t count, bool goesOn) {
  Block block = emptyBlock(samples, count, goesOn);
  LaneSums sums(_mm256_set1_epi32(block.base));
  const std::int32_t beforeFirst = goesOn ? samples[-1] : samples[0];
  // All but the first two samples and the last ones, of which there are up to seven, fill whole lanes. Those
  // have some for themselves, in which the base is left over: it changes nothing.
  const std::size_t head = std::min<std::size_t>(count, 2), end = count - (count - head) % kLanes;
  std::array<std::int32_t, 2 * kLanes> few{}, before{}, earlier{};
  few.fill(block.base);
  before.fill(block.base);
  earlier.fill(~block.base);
  for (std::size_t i = 0; i < head; ++i) {
    few[i] = samples[i];
    before[i] = i > 0 ? samples[0] : beforeFirst;
    earlier[i] = ~samples[i];
  }
  for (std::size_t i = end; i < count; ++i) {
    const std::size_t lane = kLanes + i - end;
    few[lane] = samples[i];
    before[lane] = samples[i - 1];
    earlier[lane] = samples[i - 2];
  }
  for (std::size_t lane = 0; lane < few.size(); lane += kLanes)
    sums.add(load(few.data() + lane), load(before.data() + lane), load(earlier.data() + lane));
  for (const std::int32_t* at = samples + head; at != samples + end; at += kLanes)
    sums.add(load(at), load(at - 1), load(at - 2));

  // The sums are about 0, without their upper bits; about the base they have no such bits.
  const auto n = static_cast<std::uint32_t>(end - head + few.size()),
             base = static_cast<std::uint32_t>(block.base);
  block.sum = static_cast<std::int32_t>(total<std::uint32_t>(sums.sum) - n * base);
  const auto wideBase = static_cast<std::uint64_t>(std::int64_t{block.base});
  block.squares = total<std::uint64_t>(sums.squares) -
                  wideBase * (2 * static_cast<std::uint64_t>(block.sum) + n * wideBase);
  block.min = least(sums.min);
  block.max = greatest(sums.max);
  block.largestStep = static_cast<std::uint32_t>(greatest(sums.largestStep));
  block.stepSum = total<std::uint32_t>(sums.stepSum);
  block.repeated = total<std::uint32_t>(sums.repeated);
  return block;
}

WIDE_INSTRUCTIONS Block sumUpWide(const std::int32_t* samples, std::size_t count, bool goesOn) {
  constexpr std::uint32_t kNarrow = 1U << 21U;
  Block block = sumUpNarrow(samples, count, goesOn);
  const std::int32_t before = goesOn ? samples[-1] : samples[0];
  if (stepBetween(std::min(block.min, before), std::max(block.max, before)) >= kNarrow)
    block = sumUpAny(samples, count, goesOn);
  return block;
}

#endif

}  // namespace

Block sumUpPlainly(const std::int32_t* samples, std::size_t count, bool goesOn) {
  return sumUpAny(samples, count, goesOn);
}

Block sumUp(const std::int32_t* samples, std::size_t count, bool goesOn) {
#if defined(__x86_64__)
  if (machineHasWideInstructions()) return sumUpWide(samples, count, goesOn);
#endif
  return sumUpPlainly(samples, count, goesOn);
}

}  // namespace ctfmeg
