#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <megreader/framework/cfile.h>
#include <megreader/framework/cstring.h>
#include "meg4/parallel_read.h"
#include <megreader/reader/reading_rules.h>

class CMEGDatazk;

// Sample files: an 8-byte header, then trial records one after another. A trial record is a block for each
// channel in channel order, a block is the trial's samples as big-endian 32-bit integers. A trial never
// straddles two files. `prefix` is the dataset's path up to and including the dot before the extension.

struct SampleCounts {
  std::int32_t trials = 0;
  std::int32_t channels = 0;
  std::int64_t samples = 0;  ///< of each channel in each trial

  bool valid() const { return trials > 0 && channels > 0 && samples > 0; }
};

/// The counts of the data object's record information; all 0 without a data object.
SampleCounts sampleCounts(const CMEGDatazk* data);

/// A byte count as importers keep it where 32 bits are theirs.
std::uint64_t countedBytes(std::uint64_t bytes, const ReadingRules& rules);

/// Bytes of one channel of one trial, and of a whole trial.
std::uint64_t channelBlockBytes(const SampleCounts& counts);
std::uint64_t trialBytes(const SampleCounts& counts);

/// How an importer adds up the bytes that a file set holds.
enum class AvailableBytes { wide, narrow };

/// `prefix` + "meg4" for index 0, then `prefix` + "1_meg4" and so on.
CString sampleFileName(const CString& prefix, int index);

/// Opens sample file `index` and stands behind its header. Shows the system's message and reports a finding
/// when it can't be opened or does not begin as a sample file does.
bool openSampleFile(CFile& file, const CString& prefix, int index);

/// Bytes behind the header; 0 for a file that has become shorter than one.
std::uint64_t sampleBytes(const CFile& file);

/// An opened file set, read unit by unit (a trial or a channel block) into one buffer.
class SampleFiles {
 public:
  virtual ~SampleFiles() = default;

  /// Trials that an importer walks through.
  std::int32_t trials() const { return m_trials; }

  /// Bytes of samples in all files, and in the largest.
  std::uint64_t heldBytes() const { return m_heldBytes; }
  std::uint64_t largestFile() const { return m_largestFile; }

  /// How many threads may share a read; 0: as many as pay.
  void setThreads(int threads) { m_parallel.setThreads(threads); }

  /// Says how large a unit is, without making the buffer: that is then made by a read that needs it.
  void setUnit(std::uint64_t unitBytes);

  /// Units that the file at hand still holds whole.
  std::uint64_t unitsHeld() { return rest().bytes / m_unitBytes; }

  /// Makes the buffer. A unit larger than every file gets room for the largest only: reading it ends short.
  /// False without memory.
  bool allocate(std::uint64_t unitBytes);

  /// Reads the next unit into the buffer. False when the current file held less. Throws CFileException when
  /// it can't be read.
  bool readUnit();

  /// The same into `values`, in host order.
  bool readUnitInto(std::span<std::int32_t> values);

  /// Reads the next units into `values`, as many as it has room for, all from the file at hand. False,
  /// standing where it stood, when that can't be done: to read them one by one tells which and why.
  bool readUnitsAtOnce(std::span<std::int32_t> values);

  /// The buffer: after a unit was read whole, its values as they lie in the file.
  std::span<std::int32_t> unit() const {
    return {m_buffer.get(), static_cast<std::size_t>(m_bufferBytes / 4)};
  }

  /// Moves on after a short read. False when there is nothing to move on to.
  virtual bool nextFile() = 0;

 protected:
  virtual std::size_t read(void* buffer, std::size_t bytes) = 0;

  /// The file at hand, standing at the next unit, and the bytes that it still holds; null and 0 behind the
  /// last.
  struct Rest {
    CFile* file = nullptr;
    std::uint64_t bytes = 0;
  };
  virtual Rest rest() = 0;
  /// So many bytes of that file were read, and it stands behind them.
  virtual void passed(std::uint64_t bytes) = 0;

  std::int32_t m_trials = 0;
  std::uint64_t m_largestFile = 0;
  std::uint64_t m_heldBytes = 0;

 private:
  bool readTogether(std::span<std::int32_t> values);

  std::unique_ptr<std::int32_t[]> m_buffer;
  std::uint64_t m_bufferBytes = 0;
  std::uint64_t m_unitBytes = 0;
  ParallelRead m_parallel;
};

/// Opens the file set that the counts call for. Null, the user told, when that fails; null without a message
/// when a count is below 1.
std::unique_ptr<SampleFiles> openSampleFiles(const CString& prefix, const SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available);

// The two readings of a set, for `openSampleFiles`.

/// At most eight files opened at once, short reads moving on from one to the next.
std::unique_ptr<SampleFiles> openSampleSlots(const CString& prefix, const SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available);
/// Whole trials counted from each file's length, as many files as there are.
std::unique_ptr<SampleFiles> openTrialSequence(const CString& prefix, const SampleCounts& counts);
