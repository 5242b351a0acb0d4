#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/memory_range.h"

#include <megreader/datamodel/imports.h>

/// Samples of all trials of an import in one address range: trial, channel, sample; 32-bit in host order, or
/// sums as doubles, never both. Nothing is touched before it is written; samples that were never written read
/// 0. A copy has samples of its own, in memory or in a file of its own by the limit that the import had;
/// copying throws std::bad_alloc, the reason reported, when there is no room.
class TrialStorage {
 public:
  TrialStorage() = default;
  TrialStorage(const TrialStorage& other);
  TrialStorage(TrialStorage&&) noexcept = default;
  TrialStorage& operator=(const TrialStorage& other);
  TrialStorage& operator=(TrialStorage&&) noexcept = default;
  ~TrialStorage() = default;

  /// Makes room for what the import stores, dropping what was held: in memory, or, where that is asked for
  /// and it is too much, in a file, which is reported. False, holding nothing, when the system refuses, and
  /// for a plan with fewer than one part.
  bool reserve(const ImportPlan& plan);

  /// The places of `count` whole trials, each to be written before `store` is called with it; empty when one
  /// is out of range and where sums are planned.
  std::span<std::int32_t> room(std::int32_t first, std::int32_t count);

  /// Copies `count` values to channel `channel` of `trial`, and on into the following channels of that trial.
  /// Takes what fits; a trial or channel out of range, or sums planned, stores nothing and returns false.
  bool store(std::int32_t trial, std::int32_t channel, const std::int32_t* values, std::int64_t count,
             std::int32_t fileTrial);

  /// Stores `count` sums of a whole trial as `store` does samples.
  bool storeSums(std::int32_t trial, const double* values, std::int64_t count);

  /// channels x samples values, or null when the trial holds none. Valid until the next `reserve`.
  const std::int32_t* trial(std::int32_t trial) const;
  const double* sums(std::int32_t trial) const;

  /// Meaningful for a stored trial only.
  TrialOrigin origin(std::int32_t trial) const;

  std::int32_t numTrials() const { return static_cast<std::int32_t>(m_stored.size()); }
  std::int32_t numChannels() const { return m_plan.channels; }
  std::int64_t numSamples() const { return m_plan.samples; }
  std::int32_t numStored() const;

 private:
  bool obtain(const ImportPlan& plan, std::size_t bytes, std::uint64_t expected);
  bool spill(const ImportPlan& plan, std::size_t bytes, std::uint64_t expected, bool mayStay);
  bool summed() const { return m_plan.unit == ImportUnit::summedTrial; }
  bool inRange(std::int32_t trial) const { return trial >= 0 && trial < numTrials(); }
  bool stored(std::int32_t trial) const {
    return inRange(trial) && m_stored[static_cast<std::size_t>(trial)];
  }
  std::int64_t trialValues() const { return m_plan.channels * m_plan.samples; }
  template <class T>
  T* writable(std::int32_t trial);
  /// Takes room for trials that hold nothing yet. Throws std::bad_alloc, the reason reported, when there is
  /// none.
  void use(std::int32_t first, std::int32_t count, std::size_t valueSize);
  void markStored(std::int32_t trial, std::int32_t fileTrial);

  template <class T>
  T* values(std::int32_t trial) const {
    return static_cast<T*>(m_memory.data()) + trial * trialValues();
  }

  ImportPlan m_plan{};
  ctfmeg::MemoryRange m_memory;
  std::vector<bool> m_stored;
  std::vector<std::int32_t> m_fileTrials;
};
