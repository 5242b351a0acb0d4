#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "simulate/channel.h"
#include "simulate/channel_signal.h"
#include "simulate/options.h"
#include "simulate/random.h"
#include "simulate/source_activity.h"

namespace ctfmeg::simulate {

// Makes the trials of a recording one after another, each in the bytes of the meg4 file: channel after
// channel, big-endian int32 counts, rounded and kept within the range of 32 bits.
class TrialSynthesis {
 public:
  TrialSynthesis(const Options& options, const std::vector<Channel>& channels);

  // Stays valid until the next call.
  std::span<const char> nextTrial();

 private:
  struct Row {
    std::unique_ptr<ChannelSignal> signal;
    double gain;
  };

  void fillMoments(TimeBlock& block, std::size_t samples);
  void fillCounts(const TimeBlock& block, std::int64_t firstInTrial);

  Options options_;
  Random random_;
  SourceActivity activity_;
  std::vector<Row> rows_;
  std::vector<PerSource> moments_;
  std::vector<double> values_;
  std::vector<char> bytes_;
  std::int64_t trialsDone_ = 0;
};

}  // namespace ctfmeg::simulate
