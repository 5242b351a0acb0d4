#pragma once

#include <cstddef>
#include <cstdint>

namespace ctfmeg {

/// Samples of a channel that are looked at together: enough to say how noisy it is just there.
inline constexpr std::int64_t kBlockSamples = 1024;

/// Of all samples, or their squares.
__extension__ using Sum = __int128;

/// What is summed up of a block. `sum` and the squares are of the samples' distances from the first one.
struct Block {
  std::int32_t base = 0;  ///< the first sample
  std::int32_t min = 0, max = 0;
  std::int64_t sum = 0;
  Sum squares = 0;
  std::size_t steps = 0;          ///< from one sample to the next
  std::uint32_t largestStep = 0;  ///< without sign, as all of them
  std::uint64_t stepSum = 0;
  std::size_t repeated = 0;  ///< samples equal to the two before them, which are of the block

  friend bool operator==(const Block&, const Block&) = default;
};

/// Sums up 1 to `kBlockSamples` samples. `goesOn`: samples[-1] is the sample before, and the step from it
/// counts.
Block sumUp(const std::int32_t* samples, std::size_t count, bool goesOn);

/// Without what only some machines can do, for comparison.
Block sumUpPlainly(const std::int32_t* samples, std::size_t count, bool goesOn);

/// |to - from|.
inline std::uint32_t stepBetween(std::int32_t from, std::int32_t to) {
  return static_cast<std::uint32_t>(from < to ? to : from) -
         static_cast<std::uint32_t>(from < to ? from : to);
}

}  // namespace ctfmeg
