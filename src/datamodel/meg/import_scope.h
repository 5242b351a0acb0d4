#pragma once

#include <cstdint>

#include "framework/export.h"

class CMEGDatazk;

enum class ImportUnit {
  trial,         ///< one call brings a whole trial
  channelBlock,  ///< one call brings one channel of one trial
};

/// How the data object reads the arguments of import calls while an import runs.
struct ImportPlan {
  ImportUnit unit = ImportUnit::trial;
  std::int32_t trials = 0;      ///< trials to make room for
  std::int32_t channels = 0;    ///< in each trial
  std::int64_t samples = 0;     ///< of each channel
  std::int64_t unitValues = 0;  ///< values that the importer's buffer really holds: no call takes more
};

/// Opens a data object for one import while it lives. Opening drops the samples of an earlier import.
class MEGREADER_API ImportScope {
 public:
  ImportScope(CMEGDatazk& data, const ImportPlan& plan);
  ImportScope(const ImportScope&) = delete;
  ImportScope& operator=(const ImportScope&) = delete;
  ~ImportScope();

  /// False when there was no memory to reserve; import calls then store nothing.
  bool ready() const { return m_ready; }

 private:
  CMEGDatazk& m_data;
  bool m_ready;
};
