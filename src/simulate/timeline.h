#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "simulate/options.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

/// When a trial's tone was played, and how strongly the brain answered.
struct Trigger {
  std::int64_t sample = 0;  // counted from the start of the recording
  double strength = 1;
};

/// How long after a tone something of it is still to be seen, in seconds.
inline constexpr double kResponseSeconds = 0.3;

/// When each trial began, pauses counted in. Samples of the recording go on during a pause, without being
/// stored.
class Timeline {
 public:
  explicit Timeline(const Options& options);

  std::int64_t firstSample(int trial) const { return m_firsts[static_cast<std::size_t>(trial)]; }
  std::int64_t triggerSample(int trial) const { return firstSample(trial) + m_options.preTrigger; }

  /// The trial that holds a sample of the recording; -1 for a sample of a pause, or outside the recording.
  int trialAt(std::int64_t sample) const;

 private:
  Options m_options;
  std::vector<std::int64_t> m_firsts;
};

/// The tones that can be seen in a trial. Strengths differ a little from tone to tone.
class Triggers {
 public:
  /// In a continuous run responses go on over the borders of trials, so all tones are known from the start.
  Triggers(const Options& options, const Timeline& timeline, Random& random);

  /// Of a recording that is not continuous, each trial knows its own tone only. Trials come in their order.
  void beginTrial(int trial, Random& random);

  /// Those that may show between two samples of the recording, `end` not included.
  std::span<const Trigger> between(std::int64_t first, std::int64_t end) const;

 private:
  static Trigger next(std::int64_t sample, Random& random);

  Options m_options;
  const Timeline& m_timeline;
  std::vector<Trigger> m_known;
};

}  // namespace ctfmeg::simulate
