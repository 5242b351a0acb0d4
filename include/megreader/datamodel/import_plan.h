#pragma once

#include <cstdint>
#include <optional>

#include <megreader/datamodel/sample_memory.h>

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
