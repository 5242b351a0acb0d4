#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ctfmeg {
inline namespace v1 {

/// Samples `first` to `last`, both included; limited to what there is.
struct SampleSpan {
  std::int64_t first = 0;
  std::int64_t last = 0;
};

/// Seconds from the trigger, or from the start of a run of trials; both ends included, each the nearest
/// sample (half away from zero), limited to what there is. Without an end: from the first, or to the last.
struct TimeSpan {
  std::optional<double> from{};
  std::optional<double> to{};
};

/// What is done about samples that are missing between the trials of a run.
enum class Gaps {
  refuse,  ///< an error that lists them
  fill,    ///< NaN in their place
  cut,     ///< the trials are put together
};

/// What is done about a last trial that is cut short, as a crash leaves it.
enum class Partial {
  leaveOut,
  fill,  ///< it counts; channels that are not there whole are NaN in it
  drop,  ///< it counts; those channels are left out of all trials
};

/// Which samples are wanted. What is said combines, in this order.
struct Selection {
  /// Numbers in the file, in any order; kept in file order, each once. Nothing: all.
  std::optional<std::vector<int>> trials{};
  /// Trials in which one of the markers of these names occurs. Nothing: all.
  std::optional<std::vector<std::string>> markers{};
  /// The trials as one run, channels x samples. Trials follow each other as the clock channel says; without
  /// one they are taken as doing so, with a warning.
  bool continuous = false;
  Gaps gaps = Gaps::refuse;
  /// Of each trial, or of the run. At most one of the two.
  std::optional<SampleSpan> samples{};
  std::optional<TimeSpan> seconds{};
  /// Each trial as so many of equal length, at most as many as it has samples; what is left over is dropped.
  /// Not of a run.
  int pieces = 1;
  /// Sample 0 and every `step`-th after it, without a filter: samples / step of them, and at least one.
  int step = 1;
  /// Full names, short names, patterns (`*`, `?`) or kinds ("meg", "ref", or any that a channel has), in
  /// any order; kept in the dataset's order, each once. Case counts only where it tells names apart.
  /// Nothing: all.
  std::optional<std::vector<std::string>> channels{};
  /// Likewise, taken out; "bad": those that the dataset marks as bad.
  std::vector<std::string> exclude{};
  Partial partial = Partial::leaveOut;
};

}  // namespace v1
}  // namespace ctfmeg
