#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>

// Epochs: stretches of samples of equal length, each around the sample at which an event occurs.

namespace ctfmeg {
inline namespace v1 {

/// When an event occurs.
struct Occurrence {
  std::string name{};       ///< of the marker, or what the caller calls it
  int trial = 0;            ///< number in the file, from 0
  std::int64_t sample = 0;  ///< of that trial, from 0; outside it where the time is
  double timeMs = 0.0;      ///< milliseconds from the trial's trigger
};

/// The occurrences of markers, by trial and sample; those of several markers at one sample in the order of
/// the names, each name once. Throws `Error` for a name that no marker has.
CTFMEG_API std::vector<Occurrence> occurrencesOf(const Recording& recording,
                                                 const std::vector<std::string>& markers);

/// From where on an epoch is left out: the difference of the greatest and the smallest value of one channel.
struct PeakToPeak {
  std::string kind{};  ///< "meg", "ref", or any that a channel has; channels marked as bad do not count
  double limit = 0.0;  ///< in the channels' unit: tesla, volt
};

/// Which epochs are wanted.
struct Epoching {
  std::vector<Occurrence> occurrences{};
  /// Seconds from the occurrence, both ends included, each the nearest sample (half away from zero).
  double from = 0.0, to = 0.0;

  /// A span within the epoch, in the same way.
  struct Baseline {
    double from = 0.0, to = 0.0;
  };
  /// Each channel's mean over this span is subtracted from its epoch.
  std::optional<Baseline> baseline{};
  /// Leaves out epochs with a sample in a bad segment, or in a trial of a class whose name begins with BAD.
  bool skipBad = false;
  /// Leaves out epochs in which a channel goes beyond a limit, chosen or not. Their samples are read for it.
  std::vector<PeakToPeak> reject{};
};

/// Epochs that were left out, by reason; each counts for the first that holds.
struct LeftOut {
  std::int64_t incomplete = 0;  ///< not all of their samples are there, without a gap
  std::int64_t bad = 0;         ///< see Epoching::skipBad
  std::int64_t rejected = 0;    ///< see Epoching::reject
};

/// Mean and standard error of the trials of a source, usually epochs: a source of two trials, of which trial
/// 0 is the mean and trial 1 the sample standard deviation (n - 1) divided by the root of n, NaN for a single
/// trial. Values are physical; reading raw ones throws std::invalid_argument. Where a value is missing in one
/// of the trials, it is missing. Reading a window reads that window of every trial, a trial at a time;
/// `stops` is asked after each, and true ends it with an `Error` of the kind `stopped`.
CTFMEG_API std::shared_ptr<const SampleSource> averaged(std::shared_ptr<const SampleSource> trials,
                                                        std::function<bool()> stops = {});

}  // namespace v1
}  // namespace ctfmeg
