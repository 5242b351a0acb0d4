#include "signal/extremes.h"

#include <cstring>

#include "base/wide_instructions.h"

#define INLINE inline __attribute__((always_inline))

namespace ctfmeg {
namespace {

/// Four values, one for each lane of a register.
using Quad [[gnu::vector_size(4 * sizeof(double))]] = double;

/// Missing values, which are not less than anything, are passed over.
template <class Value>
INLINE void add(Value& min, Value& max, const double* from) {
  Value value;
  std::memcpy(&value, from, sizeof value);
  min = value < min ? value : min;
  max = value > max ? value : max;
}

INLINE Extremes extremesHere(const double* values, std::int64_t count) {
  constexpr std::int64_t kAtOnce = 4;
  Quad min = Quad{} + kNoExtremes.min, max = Quad{} + kNoExtremes.max;
  Quad otherMin = min, otherMax = max;
  const double* const end = values + count;
  for (; end - values >= 2 * kAtOnce; values += 2 * kAtOnce) {
    add(min, max, values);
    add(otherMin, otherMax, values + kAtOnce);
  }
  min = otherMin < min ? otherMin : min;
  max = otherMax > max ? otherMax : max;
  Extremes all = kNoExtremes;
  for (std::int64_t lane = 0; lane < kAtOnce; ++lane)
    widen(all, {min[lane], max[lane]});
  for (; values != end; ++values)
    add(all.min, all.max, values);
  return all;
}

WIDE_INSTRUCTIONS Extremes extremesWide(const double* values, std::int64_t count) {
  return extremesHere(values, count);
}

}  // namespace

Extremes extremesOf(const double* values, std::int64_t count) {
  return machineHasWideInstructions() ? extremesWide(values, count) : extremesHere(values, count);
}

}  // namespace ctfmeg
