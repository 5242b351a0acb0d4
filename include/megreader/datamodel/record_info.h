#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <megreader/datamodel/coefficients.h>
#include <megreader/datamodel/dataset_information.h>
#include <megreader/datamodel/owned_list.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// One filter that the acquisition applied. Copies are deep.
struct MEGREADER_API FilterInfo {
  FilterInfo() = default;
  FilterInfo(const FilterInfo& other);
  FilterInfo(FilterInfo&&) noexcept = default;
  FilterInfo& operator=(const FilterInfo& other);
  FilterInfo& operator=(FilterInfo&&) noexcept = default;
  ~FilterInfo() = default;

  std::uint32_t filterClass = 0;
  std::uint32_t filterType = 0;
  double frequency = 0.0;  ///< Hz
  std::int32_t numParams = 0;
  std::unique_ptr<double[]> params;  ///< `numParams` values; null when there are none
};

/// What a dataset's resource file says about the run. Members keep the field's width of the data model,
/// whatever the file's. Copies are deep.
class MEGREADER_API CMEGRecordInfo {
 public:
  /// numTrials x numChannels x samplesPerTrial x 4, in bytes; the largest 64-bit number when it does not fit,
  /// 0 when a count is negative.
  std::int64_t getRecordedDataSizeByte() const;

  std::int32_t samplesPerTrial = 0, samplesPerTrialAcq = 0;
  std::int32_t preTrigSamples = 0, preTrigSamplesAcq = 0;  ///< samples before the trigger; negative: after it
  double sampleRate = 0.0, sampleRateAcq = 0.0;            ///< Hz
  double epochTime = 0.0;                                  ///< seconds
  std::int32_t numChannels = 0;
  std::int32_t numTrials = 0;
  std::int32_t numTrialsDone = 0;
  std::int32_t numTrialsDisplay = 0;
  std::int32_t saveTrials = 0;
  std::int32_t numTrialsAvgd = 0;
  std::int32_t triggerFormat = 0;
  /// Format 0: primary trigger, polarity mask, eight secondary triggers. Format 1: two words, the rest
  /// untouched.
  std::array<std::uint32_t, 10> triggerCodes{};
  std::int32_t acqSetting1 = 0, acqSetting2 = 0, acqSetting3 = 0, acqSetting4 = 0;

  CString appName, dataOrigin, dataDescription, dataTime, dataDate;
  CString runName, runTitle, instruments, collectDescriptor, subjectId, operatorName, sensorFileName;
  CString runDescription;
  std::int32_t runDescriptionLength = 0;  ///< bytes in the file

  OwnedList<FilterInfo> filters;  ///< in file order
};

/// A trigger of the run, in short.
struct TriggerInfo {
  CString name;
  std::int64_t occurrences = 0;
};

/// The record information with the triggers, the information file and the coefficient records.
class MEGREADER_API CMEGRecordInfozkPro : public CMEGRecordInfo {
 public:
  std::vector<TriggerInfo> triggers;  ///< of the trigger manager's markers, in its order
  DatasetInformation information;     ///< of the information file

  CCoefficientManagerzk* getSensorCoefficientzk() { return &m_coefficients; }
  const CCoefficientManagerzk* getSensorCoefficientzk() const { return &m_coefficients; }

 private:
  CCoefficientManagerzk m_coefficients;
};

class MEGREADER_API CMEGRecordInfozkProzk : public CMEGRecordInfozkPro {};
