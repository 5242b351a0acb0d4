#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <ctfmeg/export.h>

namespace ctfmeg {
inline namespace v1 {

/// Extents of samples: each trial has `channels` channels of `samples` samples.
struct Shape {
  std::int64_t trials = 0;
  int channels = 0;
  std::int64_t samples = 0;
};

/// Where a trial's samples are in the file.
struct Origin {
  int fileTrial = 0;             ///< number of the trial in the file, from 0
  std::int64_t firstSample = 0;  ///< sample of that trial that is sample 0 here
  std::int64_t step = 1;         ///< samples of the file from one sample here to the next
};

/// Part of a source: trials, channels and samples one after another, counted from 0.
struct Window {
  std::int64_t trial = 0, trials = 1;
  int channel = 0, channels = 1;
  std::int64_t first = 0, samples = 0;
};

/// Samples that are read on demand. Operations may be called from several threads at once and keep no state;
/// they throw std::out_of_range for what lies outside the shape, std::invalid_argument where `out` is too
/// small, and `Error` when files can't be read.
class CTFMEG_API SampleSource {
 public:
  SampleSource() = default;
  SampleSource(const SampleSource&) = delete;
  SampleSource& operator=(const SampleSource&) = delete;
  virtual ~SampleSource();

  virtual Shape shape() const = 0;
  virtual Origin origin(std::int64_t trial) const = 0;

  /// Seconds from the trigger to a sample: (origin.firstSample + sample x origin.step - preTrigSamples) / the
  /// rate at which the run was acquired.
  virtual double time(std::int64_t trial, std::int64_t sample) const = 0;

  /// The converter's values of a window, to the front of `out`: trial by trial, channel by channel.
  virtual void read(const Window& window, std::span<std::int32_t> out) const = 0;

  /// The values of a window as raw / gain, in each channel's unit, placed as `read` places them.
  virtual void readPhysical(const Window& window, std::span<double> out) const = 0;
};

/// Samples `first` to `last`, both included, of each trial; limited to the trial.
struct SampleSpan {
  std::int64_t first = 0;
  std::int64_t last = 0;
};

/// Which samples are wanted. What is said combines, in this order.
struct Selection {
  /// Numbers in the file, in any order; kept in file order, each once. Nothing: all.
  std::optional<std::vector<int>> trials{};
  /// Trials in which the first marker of that name occurs. Nothing: all.
  std::optional<std::string> marker{};
  std::optional<SampleSpan> samples{};
  /// Each trial as so many of equal length, at most as many as it has samples; what is left over is dropped.
  int pieces = 1;
  /// Sample 0 and every `step`-th after it, without a filter: samples / step of them, and at least one.
  int step = 1;
};

}  // namespace v1
}  // namespace ctfmeg
