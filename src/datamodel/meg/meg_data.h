#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "datamodel/meg/import_scope.h"
#include "datamodel/meg/import_trace.h"
#include "datamodel/meg/record_info.h"
#include "datamodel/meg/trial_storage.h"
#include "datamodel/sensors/eeg_electrode.h"
#include "datamodel/sensors/meg_sensor.h"
#include "framework/cdocument.h"
#include "framework/collections.h"
#include "framework/cstring.h"
#include "framework/export.h"

/// One channel of a dataset, in file order.
struct ChannelInfo {
  CString name;       ///< full name, such as "MLC11-2805"
  CString shortName;  ///< the part before its first "-"
  CMEGSensorzk sensor;
};

/// The data object's base: record information, channels and the samples of its trials.
class MEGREADER_API CMEGData {
 public:
  CMEGData() = default;
  CMEGData(const CMEGData&) = delete;
  CMEGData& operator=(const CMEGData&) = delete;
  virtual ~CMEGData();

  CMEGRecordInfozkProzk* getMEGRecordInfozk() { return &m_recordInfo; }
  const CMEGRecordInfozkProzk* getMEGRecordInfozk() const { return &m_recordInfo; }

  /// Makes `trial` the current one. Returns 1, or 0 (the current one stays) when no such trial is stored.
  int openTrial(int trial);
  int currentTrial() const { return m_currentTrial; }  ///< -1 when none was opened

  /// Raw samples of a trial, numChannels x samples in host order; null when the trial is not stored. Owned by
  /// the data object and valid until the next import.
  const std::int32_t* trialSamples(int trial) const;
  TrialOrigin trialOrigin(int trial) const;
  /// Shape of what is stored: trial numbers run from 0 to `trialSlots()` - 1, not all need hold samples.
  int trialSlots() const;
  int numStoredTrials() const;
  int storedChannels() const;
  std::int64_t storedSamples() const;

  const std::vector<ChannelInfo>& channels() const { return m_channels; }
  const std::vector<CEEGelectrodezk>& electrodes() const { return m_electrodes; }

  CString name;  ///< the dataset's name: the file name without directory and extension

 protected:
  CMEGRecordInfozkProzk m_recordInfo;
  std::vector<ChannelInfo> m_channels;
  std::vector<CEEGelectrodezk> m_electrodes;
  TrialStorage m_trials;
  int m_currentTrial = -1;
};

/// The layer that CTF readers fill.
class MEGREADER_API CMEGData9FileA01CtfMISL : public CMEGData {
 public:
  /// Copies the channel lists, in the place of earlier ones; reserves nothing for samples. The lists hold
  /// CMEGSensorzk*, CEEGelectrodezk*, names and short names. Returns 1; 0 and nothing changed for a null or
  /// short list or a null sensor, channels below 1, trials below 0 (0 is allowed), or a data size beyond 64
  /// bits.
  int importTrialChannels(int trials, int channels, const CPtrArray* sensors, const CPtrArray* electrodes,
                          const CStringArray* names, const CStringArray* shortNames, CDocument* document);

  /// Stores a trial: `data` holds channels x samples host-order values. Copies; returns 1, or 0 when no
  /// import is open for whole trials or the trial is out of range.
  int importCtfDataT(int trial, int channels, std::int64_t samples, const std::int32_t* data);

  /// Stores one channel of a trial: `data` holds `samples` host-order values. Copies; returns 1, or 0 when no
  /// import is open for channel blocks or trial or channel are out of range.
  int importCtfDataC(int trial, int channel, std::int64_t samples, const std::int32_t* data);

  /// Records the import calls from now on; null ends that. Not owned.
  void setImportTrace(ImportTrace* trace) { m_trace = trace; }

 private:
  friend class ImportScope;
  bool openImport(const ImportPlan& plan);
  void closeImport() { m_import.reset(); }
  bool importing(ImportUnit unit) const { return m_import && m_import->unit == unit; }
  void trace(const char* call, std::int64_t first, std::int64_t second, std::int64_t third) const;

  std::optional<ImportPlan> m_import;
  ImportTrace* m_trace = nullptr;
};

/// The data object of one dataset.
class MEGREADER_API CMEGDatazk : public CMEGData9FileA01CtfMISL {
 public:
  ~CMEGDatazk() override;
};
