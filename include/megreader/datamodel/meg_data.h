#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include <megreader/datamodel/eeg_electrode.h>
#include <megreader/datamodel/import_plan.h>
#include <megreader/datamodel/meg_sensor.h>
#include <megreader/datamodel/owned_list.h>
#include <megreader/datamodel/record_info.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

class TrialStorage;

/// One channel of a dataset, in file order.
struct ChannelInfo {
  CString name;       ///< full name, such as "MLC11-2805"
  CString shortName;  ///< the part before its first "-"
  CMEGSensorzk sensor;
  bool good = true;  ///< false: not to be used
};

/// The data object's base: record information, channels and the samples of its trials. Data objects can be
/// copied: copies are deep, samples included. Samples that live in a temporary file are copied into memory or
/// into a file of the copy's own, by the limit that they were read with; where there is no room, copying
/// throws std::bad_alloc.
class MEGREADER_API CMEGData {
 public:
  CMEGData();
  CMEGData(const CMEGData& other);
  CMEGData& operator=(const CMEGData& other);
  virtual ~CMEGData();

  CMEGRecordInfozkProzk* getMEGRecordInfozk() { return &m_recordInfo; }
  const CMEGRecordInfozkProzk* getMEGRecordInfozk() const { return &m_recordInfo; }

  /// Makes `trial` the current one. Returns 1, or 0 (the current one stays) when no such trial is stored.
  int openTrial(int trial);
  int currentTrial() const { return m_currentTrial; }  ///< -1 when none was opened

  /// Raw samples of a trial, storedChannels() x storedSamples() in host order; null when the trial holds
  /// none. Owned by the data object and valid until the next import.
  const std::int32_t* trialSamples(int trial) const;
  /// The sums of a trial that holds sums instead: a trial is raw or summed, never both.
  const double* trialSums(int trial) const;
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
  /// Channel numbers by name; several channels may have one name.
  using ChannelIndex = std::unordered_multimap<std::wstring, std::size_t>;

  CMEGRecordInfozkProzk m_recordInfo;
  std::vector<ChannelInfo> m_channels;
  ChannelIndex m_byName, m_byShortName;  // empty until they are asked for, and after channels were imported
  std::vector<CEEGelectrodezk> m_electrodes;
  OwnedPointer<TrialStorage> m_trials;  // null before the first import: making a data object takes no memory
  int m_currentTrial = -1;

 private:
  const TrialStorage& storage() const;
};
