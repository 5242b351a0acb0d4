#pragma once

#include <cstdint>
#include <span>

#include <megreader/datamodel/import_plan.h>
#include <megreader/framework/export.h>

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
