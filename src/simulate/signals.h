#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "simulate/channels.h"
#include "simulate/environment.h"
#include "simulate/random.h"
#include "simulate/timeline.h"

namespace ctfmeg::simulate {

/// Three current dipoles in the brain (ampere metres), then three distant machines whose magnetic moments
/// (ampere square metres) make the ambient field.
enum Source { leftAuditory, rightAuditory, occipital, elevator, trolley, traffic };
inline constexpr int kSources = 6;

/// A number for each source: its moment, or what a channel shows for a moment of 1.
using PerSource = std::array<double, kSources>;

/// What `channel` shows of each source, in tesla or volt for a moment of 1. Zero for a channel that is
/// neither magnetic nor an electrode.
PerSource leadField(const Channel& channel);

/// sin(2 pi turns) to 1e-11. The last bits of libm's sine differ between systems; this uses exact and
/// correctly rounded operations only.
double sineOfTurns(double turns);

/// Moments of all sources over time: in the auditory cortices a response to the trigger, in the occipital
/// cortex an alpha rhythm that waxes and wanes, outside slowly turning machines.
class SourceActivity {
 public:
  explicit SourceActivity(Random& random);

  struct Tone {
    double secondsAgo;
    double strength;
  };
  PerSource at(double secondsInRecording, std::span<const Tone> tones) const;

 private:
  PerSource m_phases{};  // turns
};

/// A stretch of one trial that is computed at once for all channels.
struct TimeBlock {
  double rate = 0;                     // Hz
  std::int64_t firstInRecording = 0;   // its first sample, counted from the start of the recording
  std::span<const Trigger> triggers;   // that may show in it
  std::span<const PerSource> moments;  // of all sources, for each sample
  std::span<const PerDistantSource> distantMoments;  // likewise; empty without common noise

  double secondsAfter(const Trigger& trigger, std::size_t sample) const {
    return seconds(firstInRecording - trigger.sample, sample);
  }
  double secondsInRecording(std::size_t sample) const { return seconds(firstInRecording, sample); }

 private:
  double seconds(std::int64_t first, std::size_t sample) const {
    return static_cast<double>(first + static_cast<std::int64_t>(sample)) / rate;
  }
};

/// What one channel shows, in tesla, volt, seconds or trigger codes.
class ChannelSignal {
 public:
  ChannelSignal() = default;
  ChannelSignal(const ChannelSignal&) = delete;
  ChannelSignal& operator=(const ChannelSignal&) = delete;
  virtual ~ChannelSignal() = default;

  /// Fills `values`, one for each sample of `block`. Blocks come in the order of time.
  virtual void fill(const TimeBlock& block, Random& random, std::span<double> values) = 0;
};

/// Deviation of the white noise of a magnetic channel, in tesla.
double sensorNoise(double rate);

/// `index` is the channel's place in the dataset, `rate` its samples per second.
std::unique_ptr<ChannelSignal> makeSignal(const Channel& channel, std::size_t index, double rate);

}  // namespace ctfmeg::simulate
