#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/processing.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>

namespace ctfmeg {
inline namespace v1 {

/// From where on a channel's samples are taken for faulty. MEG, reference and EEG channels are judged. What
/// is equal or next to each other is so within a trial; missing samples interrupt it.
struct SignalLimits {
  /// Flat: samples stay equal for so many seconds, or for a whole trial that is shorter; 10 samples at least.
  double flatSeconds = 0.25;

  /// Clipped: any sample at an end of 32 bits, or the channel's greatest or smallest value occurring this
  /// many times, and this many times as often as the next value that occurs. A smooth wave rounded to
  /// integers is at its top up to 2.5 times as often as just below it, noise once; a signal that is cut off,
  /// a hundred times.
  double pileUp = 10.0;

  /// Jumps: steps from one sample to the next of more than this many times the channel's usual step (the
  /// median of those that are not 0). So that what a signal does regularly is none, such as a heartbeat, such
  /// a step is also beyond a fifth of this many times what 99 % of its steps stay below, and beyond 8 times
  /// the mean step of the 1024 samples around it. Normally distributed noise stays below 10 usual steps.
  double jump = 50.0;

  /// Noisy: a channel's noise, the median deviation within 1024 samples that do not jump, is more than this
  /// many times the median of its kind, and 5 standard deviations (by its logarithm, and robust: 1.4826 times
  /// the median distance of the channels above the median) away from it. Only where a kind has five channels.
  double noise = 3.0;
};

enum class SignalFault { flat, clipped, jumps, noisy };

/// The fault as verdicts have it, such as "clipped".
CTFMEG_API const char* nameOf(SignalFault fault);

/// A sample of a source.
struct SamplePlace {
  std::int64_t trial = 0;
  std::int64_t sample = 0;

  friend bool operator<(const SamplePlace& a, const SamplePlace& b) {
    return std::tie(a.trial, a.sample) < std::tie(b.trial, b.sample);
  }
};

/// What the samples of one channel are like. Missing samples count for nothing.
struct ChannelStatistics {
  std::int64_t samples = 0;
  /// Of raw / gain, in the channel's unit; NaN where there is no sample. `std` divides by the number of
  /// samples.
  double min = 0.0, max = 0.0, mean = 0.0, std = 0.0;

  std::int64_t flat = 0;  ///< samples in the longest run of equal ones
  std::optional<SamplePlace> flatAt{};
  std::int64_t clipped = 0;  ///< samples at the ends of the converter
  std::optional<SamplePlace> clippedAt{};
  std::int64_t jumps = 0;                ///< steps that no signal makes
  std::optional<SamplePlace> jumpsAt{};  ///< the sample after the first of them
  /// How many times the median of its kind its noise is; 0 where it is not compared.
  double noise = 0.0;

  std::vector<SignalFault> faults{};  ///< in the order of their enumeration, each once
};

/// "ok", or the faults with commas between them.
CTFMEG_API std::string verdictOf(const ChannelStatistics& channel);

/// An entry for each channel of a source, in its order. Samples are read once, a little at a time, by so many
/// threads (0: as many as pay); the result does not depend on their number. Throws what reading throws, and
/// `Error` of the kind `stopped` when `progress`, called on the caller's thread, returns false.
CTFMEG_API std::vector<ChannelStatistics> statisticsOf(const SampleSource& source,
                                                       const SignalLimits& limits = {},
                                                       const ProgressFunction& progress = {},
                                                       int threads = 0);

/// The same of samples that `processed` makes. Where their values are computed (gradient compensation, a
/// filter, a baseline), `samples`, `min`, `max`, `mean` and `std` are about the computed values, and all else
/// about the stored samples that they are made of: only these show what a converter did. `made` are samples
/// that `processed` has made of this recording, selection and processing. Computed values are read after the
/// stored ones, in the order of the source.
CTFMEG_API std::vector<ChannelStatistics> statisticsOf(const ProcessedSamples& made,
                                                       const Recording& recording, const Selection& selection,
                                                       const Processing& processing,
                                                       const SignalLimits& limits = {},
                                                       const ProgressFunction& progress = {},
                                                       int threads = 0);
/// Likewise, of samples that are made for it.
CTFMEG_API std::vector<ChannelStatistics> statisticsOf(const Recording& recording, const Selection& selection,
                                                       const Processing& processing,
                                                       const SignalLimits& limits = {},
                                                       const ProgressFunction& progress = {},
                                                       int threads = 0);

}  // namespace v1
}  // namespace ctfmeg
