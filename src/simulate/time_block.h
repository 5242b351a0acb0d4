#pragma once

#include <cstdint>
#include <span>

#include "simulate/lead_field.h"

namespace ctfmeg::simulate {

// A stretch of one trial that is computed at once for all channels.
struct TimeBlock {
  double rate = 0;                     // Hz
  std::int64_t firstAfterTrigger = 0;  // its first sample, counted from the trigger of its trial
  std::int64_t firstInRecording = 0;   // the same, counted from the start of the recording
  std::span<const PerSource> moments;  // of all sources, for each sample

  double secondsAfterTrigger(std::size_t sample) const { return seconds(firstAfterTrigger, sample); }
  double secondsInRecording(std::size_t sample) const { return seconds(firstInRecording, sample); }

 private:
  double seconds(std::int64_t first, std::size_t sample) const {
    return static_cast<double>(first + static_cast<std::int64_t>(sample)) / rate;
  }
};

}  // namespace ctfmeg::simulate
