#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// Where the samples of an import live.
struct SampleMemory {
  /// Bytes of samples that are kept in memory. More live in a temporary file without a name, which only this
  /// process can open and which is gone with it, however it ends: reading is slower then. 0: half of the
  /// memory that the machine, or the process's control group, grants.
  std::uint64_t limit = 0;

  /// The folder for that file, in Windows form; empty: the system's for large temporary files.
  CString spillDirectory;
};

/// What one import call brings.
enum class ImportUnit {
  trial,           ///< a whole trial
  channelBlock,    ///< one channel of one trial
  decimatedBlock,  ///< every step-th sample of one channel, without saying of which channel
  splitTrial,      ///< a whole trial that becomes several
  summedTrial,     ///< a whole trial of sums
};

/// What an import stores, and how the data object reads the arguments of its calls. Counts below 1 store
/// nothing.
struct ImportPlan {
  ImportUnit unit = ImportUnit::trial;
  std::int32_t trials = 0;       ///< trials to make room for
  std::int32_t channels = 0;     ///< in each trial
  std::int64_t samples = 0;      ///< of each channel of a stored trial
  std::int64_t unitValues = 0;   ///< values that the importer's buffer really holds: no call takes more
  std::int32_t parts = 1;        ///< stored trials that a file trial becomes
  std::int64_t firstSample = 0;  ///< sample of the file trial that is stored first
  std::int64_t step = 1;         ///< samples of the file from one stored sample to the next
  std::int32_t mostTrials = 0;   ///< trials that are stored at most where they are chosen; 0: all
  /// Bytes that the files hold: no import can bring more, and none is spilled for more.
  std::uint64_t heldBytes = 0;
  std::optional<SampleMemory> memory{};  ///< nothing: all samples stay in memory
};

/// Where a stored trial came from.
struct TrialOrigin {
  std::int32_t fileTrial = 0;    ///< its number in the file, from 0
  std::int64_t firstSample = 0;  ///< sample of that trial that became sample 0
  std::int64_t step = 1;         ///< samples of the file from one stored sample to the next
};

/// Records the import calls that a data object receives, one line each with its arguments. For tests; a data
/// object has none unless one is set.
struct ImportTrace {
  std::vector<std::string> calls;
};

class CMEGData9FileA00Basic;

/// Opens a data object for one import while it lives. Opening drops the samples of an earlier import, and a
/// scope that was open stores nothing more. The data object must outlive it.
class MEGREADER_API ImportScope {
 public:
  ImportScope(CMEGData9FileA00Basic& data, const ImportPlan& plan);
  ImportScope(const ImportScope&) = delete;
  ImportScope& operator=(const ImportScope&) = delete;
  ~ImportScope();

  /// False when there was no memory to reserve, or for a plan with fewer than one part; import calls then
  /// store nothing.
  bool ready() const { return m_ready; }

  /// The places of `count` trials from `first` on that will be imported whole, channels x samples values
  /// each: who reads them there saves a copy. What is written there shows only once the trial is imported.
  /// Empty when one of them is out of range.
  std::span<std::int32_t> room(std::int32_t first, std::int32_t count);

  /// Trial of the file that the following calls are about: importers may store it under another number.
  void setFileTrial(std::int32_t trial);

 private:
  CMEGData9FileA00Basic& m_data;
  bool m_ready;
};
