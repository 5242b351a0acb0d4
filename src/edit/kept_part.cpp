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
  for (const Channel& channel : all) {
    bool &byName = m_names[channel.name], &byShortName = m_shortNames[channel.shortName];
    byName = byName || isKept(channel);
    byShortName = byShortName || isKept(channel);
  }
}

std::optional<int> KeptPart::trialOf(std::int32_t number) const {
  if (hasAllTrials()) return number;
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
  for (const Names* names : {&m_names, &m_shortNames})
    if (const auto found = names->find(name); found != names->end()) return !found->second;
  return false;
}

bool KeptPart::isOfUse(const std::string& name) const {
  const auto full = m_names.find(name), shorter = m_shortNames.find(name);
  const bool isFull = full != m_names.end(), isShort = shorter != m_shortNames.end();
  return (isFull && full->second) || (isShort && shorter->second) || (!isFull && !isShort);
}

}  // namespace ctfmeg::edit
