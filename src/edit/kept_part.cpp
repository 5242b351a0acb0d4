#include <algorithm>

#include "edit/cropping.h"

namespace ctfmeg::edit {

KeptPart::KeptPart(const RecordInfo& record, const std::vector<Channel>& all, std::vector<int> trials,
                   const std::vector<int>& channels, std::int64_t first, std::int64_t samples)
    : m_record(record),
      m_channels(all),
      m_trials(std::move(trials)),
      m_isKept(all.size()),
      m_first(first),
      m_samples(samples) {
  for (const int channel : channels)
    m_isKept[static_cast<std::size_t>(channel)] = true;
}

std::optional<int> KeptPart::trialOf(std::int32_t number) const {
  const auto found = std::lower_bound(m_trials.begin(), m_trials.end(), number);
  if (found == m_trials.end() || *found != number) return std::nullopt;
  return static_cast<int>(found - m_trials.begin());
}

bool KeptPart::hasAllChannels() const {
  return std::find(m_isKept.begin(), m_isKept.end(), false) == m_isKept.end();
}

bool KeptPart::hasSample(std::int64_t sample) const {
  return hasWholeTrials() || (sample >= m_first && sample < m_first + m_samples);
}

bool KeptPart::isGone(const std::string& name) const {
  for (const auto member : {&Channel::name, &Channel::shortName}) {
    const auto isCalledSo = [&](const Channel& channel) { return channel.*member == name; };
    if (std::none_of(m_channels.begin(), m_channels.end(), isCalledSo)) continue;
    return std::none_of(m_channels.begin(), m_channels.end(),
                        [&](const Channel& channel) { return isCalledSo(channel) && isKept(channel); });
  }
  return false;
}

}  // namespace ctfmeg::edit
