#include "recording/compensation.h"

#include <algorithm>

namespace ctfmeg {

std::uint32_t coefficientTypeOf(int order) { return 0x47304252U + (static_cast<std::uint32_t>(order) << 16); }

bool isMeg(const Channel& channel) {
  return channel.kind == ChannelKind::magnetometer || channel.kind == ChannelKind::gradiometer;
}

Coefficients::Coefficients(const std::vector<Channel>& channels,
                           const std::vector<CoefficientRecord>& records) {
  for (const CoefficientRecord& record : records)
    m_records.emplace(std::pair{std::string_view(record.sensor), record.type}, &record);
  for (const Channel& channel : channels) {
    m_names.emplace(channel.name, &channel);
    m_shortNames.emplace(channel.shortName, &channel);
  }
}

const CoefficientRecord* Coefficients::find(const Channel& sensor, int order) const {
  const std::uint32_t type = coefficientTypeOf(order);
  auto found = m_records.find({sensor.name, type});
  if (found == m_records.end()) found = m_records.find({sensor.shortName, type});
  return found == m_records.end() ? nullptr : found->second;
}

const Channel* Coefficients::reference(const std::string& name) const {
  if (const auto found = m_names.find(name); found != m_names.end()) return found->second;
  const auto found = m_shortNames.find(name);
  return found == m_shortNames.end() ? nullptr : found->second;
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
  const auto has = [&](const Channel& sensor, int order) {
    if (order == 0) return true;
    const CoefficientRecord* record = known.find(sensor, order);
    return record != nullptr &&
           std::all_of(record->references.begin(), record->references.end(),
                       [&](const Coefficient& c) { return known.reference(c.reference) != nullptr; });
  };
  for (int order = 0; order <= kHighestOrder; ++order) {
    const auto canHave = [&](const Channel* channel) {
      const std::int32_t own = channel->gradientOrder;
      if (own == order) return true;
      return own >= 0 && own <= kHighestOrder && has(*channel, own) && has(*channel, order);
    };
    if (std::all_of(sensors.begin(), sensors.end(), canHave)) orders.available.push_back(order);
  }
  return orders;
}

}  // namespace ctfmeg
