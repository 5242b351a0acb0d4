#include "datamodel/meg/trial_storage.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "datamodel/meg/sample_count.h"

bool TrialStorage::reserve(std::int32_t trials, std::int32_t channels, std::int64_t samples) {
  *this = TrialStorage();
  const std::int64_t bytes = countProduct({trials, channels, samples, std::int64_t{sizeof(std::int32_t)}});
  if (bytes == 0) return true;
  if (bytes == kCountOverflow || static_cast<std::uint64_t>(bytes) > std::numeric_limits<std::size_t>::max())
    return false;
  if (!m_memory.reserve(static_cast<std::size_t>(bytes))) return false;
  m_stored.assign(static_cast<std::size_t>(trials), false);
  m_origins.assign(static_cast<std::size_t>(trials), TrialOrigin{});
  m_channels = channels;
  m_samples = samples;
  return true;
}

bool TrialStorage::store(std::int32_t trial, std::int32_t channel, const std::int32_t* values,
                         std::int64_t count, const TrialOrigin& origin) {
  if (!inRange(trial) || channel < 0 || channel >= m_channels || count < 0) return false;
  const std::int64_t first = channel * m_samples;
  const std::int64_t taken = std::min(count, trialValues() - first);
  if (taken > 0)
    std::memcpy(this->values() + trial * trialValues() + first, values,
                static_cast<std::size_t>(taken) * sizeof(std::int32_t));
  m_stored[static_cast<std::size_t>(trial)] = true;
  m_origins[static_cast<std::size_t>(trial)] = origin;
  return true;
}

const std::int32_t* TrialStorage::trial(std::int32_t trial) const {
  if (!inRange(trial) || !m_stored[static_cast<std::size_t>(trial)]) return nullptr;
  return values() + trial * trialValues();
}

TrialOrigin TrialStorage::origin(std::int32_t trial) const {
  return inRange(trial) ? m_origins[static_cast<std::size_t>(trial)] : TrialOrigin{};
}

std::int32_t TrialStorage::numStored() const {
  return static_cast<std::int32_t>(std::count(m_stored.begin(), m_stored.end(), true));
}
