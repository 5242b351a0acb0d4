#pragma once

#include <vector>

#include "capi/handles.h"

namespace ctfmeg::capi {

/// Reads what a `ctfmeg_part` is of a view.
class PartReading {
 public:
  /// Throws Misuse for a part that makes no sense, and std::out_of_range for one that is not within the view.
  PartReading(const OpenView& view, const ctfmeg_part& part);

  /// Throws Misuse where `out` has not room for it, and what reading throws.
  void read(int type, Values values, void* out, std::size_t bytes, const ProgressFunction& progress) const;

 private:
  /// Trials or channels that follow each other.
  struct Run {
    std::int64_t first = 0, count = 0;
  };
  static std::vector<Run> runsOf(const char* what, const std::int64_t* places, std::int64_t count,
                                 std::int64_t there);

  template <class Value>
  void readAll(Values values, Value* out, const ProgressFunction& progress) const;
  template <class Value>
  void readTrials(const Run& trials, Values values, Value* out) const;

  const SampleSource& m_source;
  std::vector<Run> m_trials, m_channels;
  std::int64_t m_trialCount = 0, m_channelCount = 0;
  Window m_samples;  ///< with nothing set but samples
};

}  // namespace ctfmeg::capi
