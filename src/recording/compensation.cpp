#include "recording/compensation.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace ctfmeg {
namespace {

constexpr int kHighestOrder = 3;

/// "GkBR" for order k.
std::uint32_t typeOf(int order) { return 0x47304252U + (static_cast<std::uint32_t>(order) << 16); }

/// The coefficients whose references are all there, by sensor and type.
class Coefficients {
 public:
  Coefficients(const std::vector<Channel>& channels, const std::vector<CoefficientRecord>& records) {
    std::unordered_set<std::string_view> names;
    for (const Channel& channel : channels) {
      names.insert(channel.name);
      names.insert(channel.shortName);
    }
    for (const CoefficientRecord& record : records)
      if (std::all_of(record.references.begin(), record.references.end(),
                      [&](const Coefficient& c) { return names.contains(c.reference); }))
        m_known.emplace(record.sensor, record.type);
  }

  bool has(const Channel& channel, int order) const {
    if (order == 0) return true;
    return m_known.contains({channel.name, typeOf(order)}) ||
           m_known.contains({channel.shortName, typeOf(order)});
  }

 private:
  std::set<std::pair<std::string_view, std::uint32_t>> m_known;
};

}  // namespace

bool isMeg(const Channel& channel) {
  return channel.kind == ChannelKind::magnetometer || channel.kind == ChannelKind::gradiometer;
}

CompensationOrders compensationOrders(const std::vector<Channel>& channels,
                                      const std::vector<CoefficientRecord>& coefficients) {
  std::vector<const Channel*> sensors;
  for (const Channel& channel : channels)
    if (isMeg(channel)) sensors.push_back(&channel);
  if (sensors.empty()) return {};
  CompensationOrders orders;
  const std::int32_t first = sensors.front()->gradientOrder;
  if (std::all_of(sensors.begin(), sensors.end(),
                  [&](const Channel* c) { return c->gradientOrder == first; }))
    orders.stored = first;
  const Coefficients known(channels, coefficients);
  for (int order = 0; order <= kHighestOrder; ++order) {
    const auto canHave = [&](const Channel* channel) {
      const std::int32_t own = channel->gradientOrder;
      if (own == order) return true;
      return own >= 0 && own <= kHighestOrder && known.has(*channel, own) && known.has(*channel, order);
    };
    if (std::all_of(sensors.begin(), sensors.end(), canHave)) orders.available.push_back(order);
  }
  return orders;
}

}  // namespace ctfmeg
