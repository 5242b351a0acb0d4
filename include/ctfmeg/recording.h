#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include <ctfmeg/events.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/head.h>
#include <ctfmeg/information.h>
#include <ctfmeg/record.h>

namespace ctfmeg {
inline namespace v1 {

/// How files are read where they say one thing and existing hosts rely on another.
enum class Rules {
  plain,  ///< what the files say
  host,   ///< to the letter what existing hosts get
};

// Which samples are read: one route at a time.

/// All samples of all trials.
struct Whole {};
/// Sample 0 and every `n`-th after it of each trial, without a filter. From 1, which keeps all; more than a
/// trial has keeps its first sample.
struct EveryNth {
  int n = 1;
};
/// Samples `first` to `last`, both included, of each trial; limited to the trial. A span that holds none of
/// its samples or all is refused.
struct SampleSpan {
  std::int64_t first = 0;
  std::int64_t last = 0;
};
/// Each trial cut into `count` trials of equal length, at most as many as it has samples; what is left over
/// at its end is dropped. From 1, which cuts nothing.
struct Pieces {
  int count = 1;
};
/// Trials by their numbers in the file, kept in file order, each once. A number that is not there is refused,
/// and so is an empty list; one that the header has but the files do not is damage.
struct TrialList {
  std::vector<int> numbers;
};
/// The trials in which the first marker of that name occurs, as a `TrialList` of them. A name that is not
/// there, and a marker that occurs in none of the file's trials, is refused.
struct MarkedTrials {
  std::string marker;
};
using Route = std::variant<Whole, EveryNth, SampleSpan, Pieces, TrialList, MarkedTrials>;

/// How far a reading has come.
struct Progress {
  std::string title;
  double fraction = 0.0;  ///< 0 to 1, rising
};

/// What is read, how, and whom to ask.
struct ReadOptions {
  Rules rules = Rules::plain;
  bool samples = true;  ///< false: everything but the samples, which are then not touched
  Route route = Whole{};
  /// Bytes of samples that are kept in memory; more live in a temporary file without a name in `spillFolder`
  /// (empty: the system's for large temporary files), which is slower. 0: half of the memory that the
  /// machine, or the process's control group, grants.
  std::uint64_t memory = 0;
  std::filesystem::path spillFolder{};
  /// Asked a question, gives true for Yes. Without it every answer is No.
  std::function<bool(const std::string& question)> answer{};
  /// Called while samples are read, on the same thread; false stops the reading.
  std::function<bool(const Progress&)> progress{};
};

/// Where a trial's samples lie in the file.
struct Origin {
  int fileTrial = 0;             ///< number of the trial in the file, from 0
  std::int64_t firstSample = 0;  ///< sample of that trial that is sample 0 here
  std::int64_t step = 1;         ///< samples of the file from one sample here to the next
};

class Recording;

/// One trial. Cheap to copy; keeps its samples alive. Channels and samples count from 0; an index out of
/// range throws std::out_of_range. Every operation is safe from several threads.
class Trial {
 public:
  int channels() const;
  std::int64_t samples() const;  ///< of each channel

  /// The converter's values of one channel.
  std::span<const std::int32_t> raw(int channel) const;
  /// All channels, one after another: channels() x samples() values.
  std::span<const std::int32_t> raw() const;

  /// raw / gain in the channel's unit, for as many samples as `out` has room for; returns how many.
  std::size_t physical(int channel, std::span<double> out) const;

  Origin origin() const;

  /// Seconds from the trigger to a sample: (origin.firstSample + sample x origin.step - preTrigSamples) / the
  /// rate at which the run was acquired.
  double time(std::int64_t sample) const;

 private:
  friend class Recording;
  struct State;
  explicit Trial(std::shared_ptr<const State> state) : m_state(std::move(state)) {}
  std::shared_ptr<const State> m_state;
};

/// A CTF dataset, read. Cheap to copy; const operations are safe from several threads.
class Recording {
 public:
  /// Reads the dataset that `path` belongs to: a `.ds` directory (its own resource file, else the only one in
  /// it) or a file of a dataset. Throws `Error` when it can't be read, and when samples were wanted and there
  /// are none.
  static Recording read(const std::filesystem::path& path, const ReadOptions& options = {});

  /// The dataset's name: the resource file's name without directory and extension.
  const std::string& name() const;
  /// As the route leaves it: a resampled recording has the lower rate; `numTrials` and `preTrigSamples`
  /// are always the file's.
  const RecordInfo& record() const;
  const std::vector<Channel>& channels() const;
  const std::vector<CoefficientRecord>& coefficients() const;

  /// Names that the dataset marks as bad, as it has them: whole lines of a text file, which may be anything.
  /// `Channel::good` says what they matched.
  const std::vector<std::string>& badChannels() const;
  const std::vector<BadSegment>& badSegments() const;

  // What the files beside the samples say; of the file, whatever the route.

  const std::vector<Marker>& markers() const;
  const std::vector<TrialClass>& classes() const;
  const Fiducials& fiducials() const;
  const std::vector<Electrode>& electrodes() const;
  const Digitised& digitised() const;
  const Information& information() const;
  const std::vector<VirtualChannel>& virtualChannels() const;  ///< empty under host rules

  /// Numbers of the trials that hold samples, rising from 0; where each lies in the file is its trial's
  /// `origin()`. Empty when samples were not read.
  const std::vector<int>& trialNumbers() const;

  /// The trial of that number; throws std::out_of_range, saying which there are, when it holds no samples.
  Trial trial(int number) const;

  /// What was noticed although the reading succeeded, shown messages among it.
  const std::vector<Finding>& warnings() const;

 private:
  friend class Trial;
  struct State;
  explicit Recording(std::shared_ptr<const State> state) : m_state(std::move(state)) {}
  std::shared_ptr<const State> m_state;
};

/// The file that `Recording::read` hands to the reader for `path`. Throws `Error` naming what was looked for.
std::filesystem::path resolveDataset(const std::filesystem::path& path);

}  // namespace v1
}  // namespace ctfmeg
