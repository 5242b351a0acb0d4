#pragma once

#include <cstdint>
#include <span>
#include <variant>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/record.h>

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
  /// Number of the trial in the file, from 0; of a run, of the first that it holds samples of; -1: of none.
  int fileTrial = 0;
  std::int64_t firstSample = 0;  ///< sample of that trial with which it begins here
  std::int64_t step = 1;         ///< samples of the file from one sample here to the next
};

/// The part of a source's trial that comes from one trial of the file. A trial of a source has one, a run of
/// trials that are read as one has one for each.
struct Piece {
  int fileTrial = 0;             ///< number of the trial in the file, from 0
  std::int64_t firstSample = 0;  ///< sample of that trial with which the piece begins
  std::int64_t at = 0;           ///< sample of the source with which it begins
};

/// What is missing between two trials of the file.
struct Gap {
  int afterTrial = 0;        ///< number in the file of the trial before it
  double seconds = 0.0;      ///< negative where the clock goes back
  std::int64_t samples = 0;  ///< the same in samples, rounded
};

/// Part of a source: trials, channels and samples, counted from 0.
struct Window {
  std::int64_t trial = 0, trials = 1;
  int channel = 0, channels = 1;
  std::int64_t first = 0, samples = 0;  ///< `samples` of them from `first` on
  std::int64_t step = 1;                ///< every step-th sample
};

/// As what values are read.
enum class Values {
  raw,       ///< the converter's integers
  physical,  ///< raw / gain, in each channel's unit: tesla, volt, seconds, metres
};

/// Samples that are read on demand. Operations may be called from several threads at once and keep no state.
/// They throw std::out_of_range for what is outside the shape, std::invalid_argument where `out` is too small
/// or can't hold a missing value, std::bad_alloc, and `Error` when files can't be read.
class CTFMEG_API SampleSource {
 public:
  SampleSource() = default;
  SampleSource(const SampleSource&) = delete;
  SampleSource& operator=(const SampleSource&) = delete;
  virtual ~SampleSource();

  virtual Shape shape() const = 0;
  /// As many as the shape has, in its order. `Channel::index` is a channel's place in the dataset.
  virtual const std::vector<Channel>& channels() const = 0;
  /// Hz, from one sample here to the next.
  virtual double sampleRate() const = 0;

  virtual Origin origin(std::int64_t trial) const = 0;
  /// Of one trial, in its order; without those that hold none of its samples.
  virtual std::vector<Piece> pieces(std::int64_t trial) const;
  /// Between the trials of a run; empty where each trial is read by itself.
  virtual std::vector<Gap> gaps() const;

  /// Seconds from the trigger to a sample: (origin.firstSample + sample x origin.step - preTrigSamples) / the
  /// rate of the acquisition. Of a run of several trials, seconds from the run's start, with the gaps that
  /// are cut out of it.
  virtual double time(std::int64_t trial, std::int64_t sample) const = 0;

  /// Whether values are missing, which read as NaN and not as integers: gaps, and channels of a trial that is
  /// cut short.
  virtual bool hasMissing() const { return false; }

  /// What was noticed when the source was made.
  virtual const std::vector<Finding>& warnings() const;

  /// The values of a window, to the front of `out`, which must hold at least trials x channels x samples
  /// values: trial by trial, channel by channel, sample by sample. Integers are raw values.
  void read(const Window& window, std::span<std::int32_t> out) const;
  /// The nearest double to each value, or the nearest float to that.
  void read(const Window& window, std::span<double> out, Values values = Values::physical) const;
  void read(const Window& window, std::span<float> out, Values values = Values::physical) const;

 protected:
  /// Where values go.
  struct Target {
    std::variant<std::int32_t*, float*, double*> out;
    Values values = Values::raw;
  };
  /// Reads a window that is within the shape and not empty.
  virtual void readInto(const Window& window, const Target& target) const = 0;
};

}  // namespace v1
}  // namespace ctfmeg
