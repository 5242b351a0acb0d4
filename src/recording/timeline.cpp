#include "recording/timeline.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/byte_order.h"

namespace ctfmeg {
namespace {

std::int32_t sampleIn(const File& file, std::uint64_t offset) {
  std::array<std::int32_t, 1> sample{};
  if (file.readAt(offset, std::as_writable_bytes(std::span(sample))) != sizeof sample)
    SampleSet::failChanged(file);
  samplesToHostOrder(sample);
  return sample[0];
}

}  // namespace

std::optional<int> Clock::channelOf(const std::vector<Channel>& channels) {
  for (const int code : {701, 700})
    for (const Channel& channel : channels)
      if (channel.sensorType == code && channel.unit == "s") return channel.index;
  return std::nullopt;
}

std::optional<Clock::Ends> Clock::ends(const SampleSet& set, int trial) const {
  const bool isPartial = trial == set.trials() && set.partialTrial();
  if (!m_channel || trial > set.trials() - (isPartial ? 0 : 1) ||
      (isPartial && *m_channel >= set.partialTrial()->channels))
    return std::nullopt;
  const auto index = static_cast<std::size_t>(trial);
  {
    const std::lock_guard lock(m_mutex);
    if (m_known.size() <= index) m_known.resize(index + 1);
    if (m_known[index]) return m_known[index];
  }
  const auto place = set.placeOf(trial, *m_channel);
  const double gain = m_channels[static_cast<std::size_t>(*m_channel)].gain;
  const Ends ends{
      sampleIn(*place.file, place.offset) / gain,
      sampleIn(*place.file, place.offset + set.counts().blockBytes() - sizeof(std::int32_t)) / gain};
  const std::lock_guard lock(m_mutex);
  return m_known[index] = ends;
}

std::optional<Gap> Clock::between(const SampleSet& set, int trial, int later) const {
  if (!(m_record.sampleRate > 0.0)) return std::nullopt;
  const auto before = ends(set, trial), after = ends(set, later);
  if (!before || !after) return std::nullopt;
  constexpr double kMost = 9e18;  // samples that can be counted: more are no time
  const double seconds = after->first - before->last - 1.0 / m_record.sampleRate;
  const double samples = seconds * m_record.sampleRate;
  if (!(std::abs(samples) < kMost)) return std::nullopt;
  if (std::abs(samples) <= 0.5) return Gap{trial, 0.0, 0};
  return Gap{trial, seconds, std::llround(samples)};
}

}  // namespace ctfmeg
