#include "util/byte_order.h"

#include "hosts/framework/wide_instructions.h"

namespace {

/// Inlined into each of its callers, which are compiled for different machines.
inline __attribute__((always_inline)) void swapEach(std::span<std::int32_t> samples) {
  for (std::int32_t& sample : samples)
    sample = std::bit_cast<std::int32_t>(__builtin_bswap32(std::bit_cast<std::uint32_t>(sample)));
}

WIDE_INSTRUCTIONS void swapEachWide(std::span<std::int32_t> samples) { swapEach(samples); }

}  // namespace

void samplesToHostOrderPlainly(std::span<std::int32_t> samples) { swapEach(samples); }

void samplesToHostOrder(std::span<std::int32_t> samples) {
  if (machineHasWideInstructions())
    swapEachWide(samples);
  else
    samplesToHostOrderPlainly(samples);
}
