#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <ctfmeg/record.h>

namespace ctfmeg {

inline constexpr int kHighestOrder = 3;  ///< of a gradient compensation; 0 is none

/// Type of the coefficients of an order: 0x47314252, "G1BR", for order 1.
std::uint32_t coefficientTypeOf(int order);

/// Whether it is a channel of the helmet: only these are compensated.
bool isMeg(const Channel& channel);

/// The coefficients of a recording by what they are for. Refers to both lists.
class Coefficients {
 public:
  Coefficients(const std::vector<Channel>& channels, const std::vector<CoefficientRecord>& records);

  /// Of a sensor, by its full name, else by its short name; of several the first; null where there are none.
  const CoefficientRecord* find(const Channel& sensor, int order) const;

  /// The channel of that full name, else of that short name; null where there is none.
  const Channel* reference(const std::string& name) const;

 private:
  std::map<std::pair<std::string_view, std::uint32_t>, const CoefficientRecord*> m_records;
  std::map<std::string_view, const Channel*> m_names, m_shortNames;
};

/// Which gradient compensation the MEG channels of a recording carry, and which they can be given. Orders are
/// 0 (none) to 3.
struct CompensationOrders {
  std::optional<std::int32_t> stored;  ///< nothing where the channels differ, or there are none
  /// The orders that all MEG channels are in or can be brought to: each has the coefficients of that order
  /// (type GkBR for order k), and those of its own order, which has to be undone first, and their references
  /// are channels.
  std::vector<int> available;
};

CompensationOrders compensationOrders(const std::vector<Channel>& channels,
                                      const std::vector<CoefficientRecord>& coefficients);

}  // namespace ctfmeg
