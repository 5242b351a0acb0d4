#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/file.h"
#include "base/notices.h"

namespace ctfmeg {

// Sample files: an 8-byte header, then trial records one after another. A trial record is a block for each
// channel in channel order, a block is the trial's samples as big-endian 32-bit integers. A trial is never
// divided between two files. File 0 of a set is STEM.meg4, file i is STEM.i_meg4.

/// What the header promises.
struct SampleCounts {
  std::int32_t trials = 0;
  std::int32_t channels = 0;
  std::int64_t samples = 0;  ///< of each channel in each trial

  bool valid() const { return trials > 0 && channels > 0 && samples > 0; }
  /// Bytes of one channel of one trial, and of a whole trial. 64 bits hold both: a header's counts are 16, 16
  /// and 32 bits wide.
  std::uint64_t blockBytes() const { return static_cast<std::uint64_t>(samples) * sizeof(std::int32_t); }
  std::uint64_t trialBytes() const { return blockBytes() * static_cast<std::uint64_t>(channels); }
};

inline constexpr std::size_t kSampleHeaderSize = 8;

/// `stem` is the dataset's name: "run" for run.meg4, run.1_meg4 and so on.
std::string sampleFileName(const std::string& stem, int index);

/// Why a file is no sample file: it does not begin as one. Nothing when it does. Throws FileError.
std::optional<Finding> sampleHeaderProblem(const File& file);

/// Bytes after the header; 0 for a file that is shorter than one. Throws FileError.
std::uint64_t sampleBytes(const File& file);

/// A last trial that is cut short.
struct PartialTrial {
  std::int32_t channels = 0;  ///< that are whole, from the first on
  std::int64_t samples = 0;   ///< of the channel after them
};

/// The sample files of a dataset as one sequence of whole trials, each file's counted from its length, as
/// many files as there are. Looks at headers and lengths when it is made; samples are read on demand.
/// Operations on it may be called from several threads at once.
class SampleSet {
 public:
  struct FileOfSet {
    std::string name;
    std::uint64_t bytes = 0;  ///< after the header
    std::int32_t trials = 0;  ///< whole ones that belong to the run
    std::int32_t firstTrial = 0;
    std::uint64_t identity = 0;  ///< see `File::identity`
  };

  /// Looks at the files. What is odd is reported; what makes the samples unreadable is kept (`failure`) and
  /// reported too, with the severity `error`. `store` must outlive this. `counts` must be valid.
  SampleSet(const Store& store, std::string stem, const SampleCounts& counts, Notices& notices);
  SampleSet(const SampleSet&) = delete;
  SampleSet& operator=(const SampleSet&) = delete;
  ~SampleSet() = default;

  const SampleCounts& counts() const { return m_counts; }
  const Store& store() const { return m_store; }
  /// Whole trials that are there; those of the set are 0 to `trials()` - 1.
  std::int32_t trials() const { return m_trials; }
  const std::vector<FileOfSet>& files() const { return m_files; }
  /// The trial after the whole ones, where it is cut short. The failure is then Code::meg4Empty if it is the
  /// only one.
  const std::optional<PartialTrial>& partialTrial() const { return m_partial; }
  /// After the last trial of the run, in the file after it too.
  std::uint64_t extraBytes() const { return m_extraBytes; }
  /// Whether there is no file, or none with a byte after its header.
  bool holdsNothing() const { return m_holdsNothing; }
  const std::optional<Finding>& failure() const { return m_failure; }

  /// Where a channel block is that is there whole.
  struct Place {
    OpenFile file;
    std::uint64_t offset = 0;
  };
  /// Throws FileError.
  Place placeOf(std::int32_t trial, std::int32_t channel) const;

  /// That a file became shorter while it was read.
  [[noreturn]] static void failChanged(const File& file);

 private:
  OpenFile open(int index) const;
  /// A file's size where it is there; 0 where it only can't be opened.
  std::optional<std::uint64_t> sizeOf(int index) const;
  /// Whether a file of the set with a greater number is there.
  bool goesOnAfter(int index) const;
  void look(Notices& notices);
  void endEarly(int missing, Notices& notices);
  void report(Notices& notices, Code code, int index, const std::string& text,
              Finding::Severity severity = Finding::Severity::warning) const;
  void fail(Notices& notices, Finding finding);
  void fail(Notices& notices, Code code, int index, const std::string& text);

  const Store& m_store;
  std::string m_stem;
  SampleCounts m_counts;
  std::vector<FileOfSet> m_files;
  std::int32_t m_trials = 0;
  std::optional<PartialTrial> m_partial;
  std::uint64_t m_extraBytes = 0;
  bool m_holdsNothing = false;
  std::optional<Finding> m_failure;

  mutable std::mutex m_mutex;              // for the files that are open
  mutable std::map<int, OpenFile> m_open;  // by number
};

}  // namespace ctfmeg
