#pragma once

#include <cstdint>
#include <vector>

#include "framework/memory_range.h"

/// Where a stored trial came from.
struct TrialOrigin {
  std::int32_t fileTrial = 0;    ///< its number in the file, from 0
  std::int64_t firstSample = 0;  ///< sample of that trial that became sample 0
  std::int64_t step = 1;         ///< samples of the file from one stored sample to the next
};

/// Raw samples of all trials in one address range: trial, channel, sample; 32-bit in host order. Nothing is
/// touched before it is written; samples that were never written read 0.
class TrialStorage {
 public:
  /// Makes room for all trials, dropping what was held. False, holding nothing, when the system refuses.
  bool reserve(std::int32_t trials, std::int32_t channels, std::int64_t samples);

  /// Copies `count` values to channel `channel` of `trial`, and on into the following channels of that trial.
  /// Takes what fits; a trial or channel out of range stores nothing and gives false.
  bool store(std::int32_t trial, std::int32_t channel, const std::int32_t* values, std::int64_t count,
             const TrialOrigin& origin);

  /// channels x samples values, or null when nothing was stored for this trial. Valid until the next
  /// `reserve`.
  const std::int32_t* trial(std::int32_t trial) const;
  /// Meaningful for a stored trial only.
  TrialOrigin origin(std::int32_t trial) const;

  std::int32_t numTrials() const { return static_cast<std::int32_t>(m_stored.size()); }
  std::int32_t numChannels() const { return m_channels; }
  std::int64_t numSamples() const { return m_samples; }
  std::int32_t numStored() const;

 private:
  bool inRange(std::int32_t trial) const { return trial >= 0 && trial < numTrials(); }
  std::int64_t trialValues() const { return m_channels * m_samples; }
  std::int32_t* values() const { return static_cast<std::int32_t*>(m_memory.data()); }

  MemoryRange m_memory;
  std::vector<bool> m_stored;
  std::vector<TrialOrigin> m_origins;
  std::int32_t m_channels = 0;
  std::int64_t m_samples = 0;
};
