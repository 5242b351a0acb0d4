#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "ctf/sample_set.h"

#include <ctfmeg/recording.h>

namespace ctfmeg {

/// When the trials of a set were, by its clock channel. Two samples of a trial are read when it is first
/// asked about. Operations may be called from several threads at once.
class Clock {
 public:
  /// The first channel of code 701, else of code 700, unless its values have no unit.
  static std::optional<int> channelOf(const std::vector<Channel>& channels);

  Clock(const std::vector<Channel>& channels, const RecordInfo& record)
      : m_channels(channels), m_channel(channelOf(channels)), m_record(record) {}

  /// What is missing between two trials of the set, the later of which may not be the next one; nothing where
  /// no clock says so. Throws FileError.
  std::optional<Gap> between(const SampleSet& set, int trial, int later) const;

 private:
  /// Seconds at the first and the last sample of a trial.
  struct Ends {
    double first = 0.0, last = 0.0;
  };
  std::optional<Ends> ends(const SampleSet& set, int trial) const;

  const std::vector<Channel>& m_channels;
  std::optional<int> m_channel;
  const RecordInfo& m_record;
  mutable std::mutex m_mutex;
  mutable std::vector<std::optional<Ends>> m_known;  // by trial
};

}  // namespace ctfmeg
