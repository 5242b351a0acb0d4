#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <ctfmeg/events.h>
#include <ctfmeg/export.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/head.h>
#include <ctfmeg/information.h>
#include <ctfmeg/record.h>
#include <ctfmeg/samples.h>
#include <ctfmeg/selection.h>

namespace ctfmeg {

class Store;

inline namespace v1 {

/// How files are read where they say one thing and existing hosts rely on another.
enum class Rules {
  plain,  ///< what the files say
  host,   ///< header and side files to the letter as existing hosts have them; samples as ever
};

/// How far a reading has come.
struct Progress {
  std::string title;
  double fraction = 0.0;  ///< 0 to 1, rising
};

struct OpenOptions {
  Rules rules = Rules::plain;
  /// Asked a question, returns true for Yes. Without it every answer is No.
  std::function<bool(const std::string& question)> answer{};
  /// Threads that read samples together, the caller's included; 0: as many as pay on this machine, of the
  /// processors that this process may use.
  int threads = 0;
};

/// Called while samples are read, on the same thread; false stops the reading.
using ProgressFunction = std::function<bool(const Progress&)>;

/// Whether the sample files hold what the header says, by their beginnings and lengths. The first that fits.
enum class SampleStatus {
  broken,     ///< one can't be read, does not begin as one or is missing inside the set; or the header says
              ///< that trials have no samples
  noSamples,  ///< there is no sample file, or none with a byte after its header
  tooShort,   ///< fewer trials than the header says are there whole
  extra,      ///< bytes are left over after the last trial
  ok,
};

/// "broken", "no-samples", "short", "extra" or "ok".
CTFMEG_API const char* nameOf(SampleStatus status);

/// What the sample files hold, by their lengths.
struct SampleFiles {
  SampleStatus status = SampleStatus::broken;
  int count = 0;                 ///< files of the set
  std::uint64_t bytes = 0;       ///< of all of them, headers included
  std::int32_t trialsSaid = 0;   ///< by the resource file
  std::int32_t trialsThere = 0;  ///< of them, that are there whole
  struct PartialTrial {
    std::int32_t channels = 0;  ///< that are there whole, from the first on
    std::int64_t samples = 0;   ///< of the channel after them
  };
  std::optional<PartialTrial> partialTrial{};  ///< the last one, where it is cut short
  std::uint64_t extraBytes = 0;  ///< after the last trial, in a file after the last one of the run too
};

/// When the trials of a recording were, by its clock channel (code 701, else 700): a trial adjoins the one
/// before when its first sample is one sample period after that one's last, to half of one.
struct Timeline {
  /// Nothing where no clock says so: there is none, or it can't be read.
  std::optional<bool> trialsAdjoin{};
  std::vector<Gap> gaps{};  ///< between trials that do not
  /// Seconds from the first sample of trial 0 to that of each trial; as if trials adjoined where no clock
  /// says when they were.
  std::vector<double> starts{};
};

/// One trial in memory. Cheap to copy; copies share the samples and keep them alive. Channels and samples
/// count from 0; an index out of range throws std::out_of_range. Every operation is safe from several
/// threads.
class CTFMEG_API Trial {
 public:
  int channels() const;
  std::int64_t samples() const;  ///< of each channel

  /// The converter's values of one channel; valid as long as a copy of this trial is.
  std::span<const std::int32_t> raw(int channel) const&;
  /// All channels, one after another: channels() x samples() values.
  std::span<const std::int32_t> raw() const&;
  std::span<const std::int32_t> raw(int channel) const&& = delete;
  std::span<const std::int32_t> raw() const&& = delete;

  /// raw / gain in the channel's unit, from sample `first` on, for as many samples as `out` has room for;
  /// returns how many.
  std::size_t physical(int channel, std::span<double> out, std::int64_t first = 0) const;
  /// The same of `channels` channels from `channel` on: `samples` samples of each, one channel after another.
  /// Throws std::invalid_argument where `out` has not room for them.
  void physical(int channel, int channels, std::int64_t first, std::int64_t samples,
                std::span<double> out) const;

  Origin origin() const;

  /// Seconds from the trigger to a sample, as `SampleSource::time`.
  double time(std::int64_t sample) const;

 private:
  friend class Recording;
  struct State;
  explicit Trial(std::shared_ptr<const State> state) : m_state(std::move(state)) {}
  std::shared_ptr<const State> m_state;
};

/// A CTF dataset: header and files beside the samples as they were when it was opened, samples on demand.
/// Cheap to copy; copies share everything. Const operations are safe from several threads. References are
/// valid as long as a copy of the recording is. A process that is forked while nothing is read may go on with
/// its copies.
class CTFMEG_API Recording {
 public:
  /// Opens the dataset that `path` belongs to: a `.ds` directory (its own resource file, else the only one in
  /// it) or a file of a dataset. No sample is read. Throws `Error` when it can't be read.
  static Recording open(const std::filesystem::path& path, const OpenOptions& options = {});

  /// The dataset's name: the resource file's name without directory and extension.
  const std::string& name() const&;
  /// The resource file's path.
  const std::filesystem::path& resourceFile() const&;
  Rules rules() const;

  /// What the resource file says.
  const RecordInfo& record() const&;
  /// What it says once a selection is made: samples in a trial and sample rate are those of the selection.
  /// Throws `Error` for a selection that can't be made.
  RecordInfo record(const Selection& selection) const;
  const std::vector<Channel>& channels() const&;
  const std::vector<CoefficientRecord>& coefficients() const&;

  /// Names that the dataset marks as bad, as it has them: whole lines of a text file, which may be anything.
  /// `Channel::good` says what they matched.
  const std::vector<std::string>& badChannels() const&;
  const std::vector<BadSegment>& badSegments() const&;

  // What the files beside the samples say.

  const std::vector<Marker>& markers() const&;
  const std::vector<TrialClass>& classes() const&;
  const Fiducials& fiducials() const&;
  const std::vector<Electrode>& electrodes() const&;
  const Digitised& digitised() const&;
  const Information& information() const&;
  const std::vector<VirtualChannel>& virtualChannels() const&;  ///< empty under host rules

  /// What was noticed when the recording was opened.
  const std::vector<Finding>& warnings() const&;
  /// What was noticed about the sample files, whose headers and lengths are looked at by the first call.
  const std::vector<Finding>& sampleWarnings() const&;
  /// What they hold. Throws nothing that is about the files: what can't be looked at is in `sampleWarnings`.
  SampleFiles sampleFiles() const;

  /// Reads two samples of the clock channel of each trial that is there, once. Of a recording with more than
  /// `mostTrials` trials nothing is read, and the timeline is empty. Throws `Error`.
  Timeline timeline(int mostTrials = 1000) const;

  /// Places in `channels()` of those that a selection chooses. Throws `Error` for a name, pattern or kind
  /// that matches none, and when none is left.
  std::vector<int> chosenChannels(const Selection& selection) const;

  /// The samples that a selection leaves, to be read on demand. Throws `Error` when the selection can't be
  /// made or there are none.
  std::shared_ptr<const SampleSource> samples(const Selection& selection = {}) const;

  /// All trials of a selection, in memory, raw. Throws what `samples` and reading throw, `Error` of the kind
  /// `stopped` when `progress` returns false, and std::invalid_argument where values would be missing.
  std::vector<Trial> read(const Selection& selection = {}, const ProgressFunction& progress = {}) const;

  /// The trial of that number in the file, read into memory. Throws std::out_of_range for a number that the
  /// recording does not have, and what reading throws.
  Trial trial(int number) const;

  const std::string& name() const&& = delete;
  const std::filesystem::path& resourceFile() const&& = delete;
  const RecordInfo& record() const&& = delete;
  const std::vector<Channel>& channels() const&& = delete;
  const std::vector<CoefficientRecord>& coefficients() const&& = delete;
  const std::vector<std::string>& badChannels() const&& = delete;
  const std::vector<BadSegment>& badSegments() const&& = delete;
  const std::vector<Marker>& markers() const&& = delete;
  const std::vector<TrialClass>& classes() const&& = delete;
  const Fiducials& fiducials() const&& = delete;
  const std::vector<Electrode>& electrodes() const&& = delete;
  const Digitised& digitised() const&& = delete;
  const Information& information() const&& = delete;
  const std::vector<VirtualChannel>& virtualChannels() const&& = delete;
  const std::vector<Finding>& warnings() const&& = delete;
  const std::vector<Finding>& sampleWarnings() const&& = delete;

 private:
  friend Recording openRecording(std::shared_ptr<const Store>, const std::string&, const OpenOptions&);
  friend std::shared_ptr<const SampleSource> samplesOfChannels(const Recording&, const Selection&,
                                                               std::vector<int>);
  struct State;
  explicit Recording(std::shared_ptr<const State> state) : m_state(std::move(state)) {}
  std::shared_ptr<const State> m_state;
};

/// The file of a dataset that `path` leads to. Throws `Error` naming what was looked for.
CTFMEG_API std::filesystem::path resolveDataset(const std::filesystem::path& path);

}  // namespace v1
}  // namespace ctfmeg
