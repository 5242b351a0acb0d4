#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <ctfmeg/record.h>

namespace ctfmeg {

/// Which gradient compensation the MEG channels of a recording carry, and which they can be given. Orders are
/// 0 (none) to 3.
struct CompensationOrders {
  std::optional<std::int32_t> stored;  ///< nothing where the channels differ, or there are none
  /// The orders that all MEG channels are in or can be brought to: each has the coefficients of that order
  /// (type GkBR for order k), and those of its own order, which has to be undone first, and their references
  /// are channels.
  std::vector<int> available;
};

/// Whether it is a channel of the helmet: only these are compensated.
bool isMeg(const Channel& channel);

CompensationOrders compensationOrders(const std::vector<Channel>& channels,
                                      const std::vector<CoefficientRecord>& coefficients);

}  // namespace ctfmeg
