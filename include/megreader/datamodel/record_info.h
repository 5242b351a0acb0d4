#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include <megreader/datamodel/owned_list.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// One compensation coefficient record: the weights with which reference channels are combined with a sensor.
class MEGREADER_API CCoefficientDatazk {
 public:
  static constexpr std::size_t kReferenceSlots = 50;  ///< in a record of the file

  CString sensorName;
  std::uint32_t coefficientType = 0;  ///< four characters, most significant first: 0x47314252 is "G1BR"
  std::int32_t numReferences = 0;     ///< at most 50; as read, so a damaged file may leave it negative
  // As many as there are references.
  std::vector<CString> referenceNames;
  std::vector<double> values;
};

/// The coefficient records of a dataset, in file order. Copies are deep.
class MEGREADER_API CCoefficientManager {
 public:
  CCoefficientManager() = default;
  CCoefficientManager(const CCoefficientManager& other);
  CCoefficientManager& operator=(const CCoefficientManager& other);
  ~CCoefficientManager() = default;

  /// What the file promises; the resource-file reader sets it before it reads the records.
  std::int32_t count = 0;

  /// Takes over an array of `number` records made with array new, in the place of what was held. Returns 1,
  /// or 0 for a null array or a number below 1.
  int addCoefficientsData(int number, CCoefficientDatazk* sets);

  /// Records that are there: never more than `count`.
  int numHeld() const { return std::clamp(count, 0, m_held); }

  /// Record `index`, owned by the manager. Throws CInvalidArgException outside 0 to `numHeld()` - 1.
  const CCoefficientDatazk& coefficients(int index) const;

 private:
  std::unique_ptr<CCoefficientDatazk[]> m_sets;
  int m_held = 0;
};

class MEGREADER_API CCoefficientManagerzk : public CCoefficientManager {};

/// A tag of the information file with the value that was set.
struct InformationEntry {
  CString tag;  ///< such as "_PATIENT_ID"
  std::variant<CString, double, std::int64_t> value;
};

/// What the information file says of patient, procedure and dataset. Texts are empty and numbers 0 where it
/// says nothing. Members are in the order of the system's tags; dates are the file's "YYYYMMDDhhmmss".
struct DatasetInformation {
  CString patientInfo;  ///< what the patient's block holds, as text
  CString patientUid;
  CString patientNameFirst, patientNameMiddle, patientNameLast;
  CString patientId;
  CString patientBirthDate;
  std::int32_t patientSex = 0;  ///< code of the file
  CString patientPacsName, patientPacsUid;
  CString patientInstitute;

  CString procedureInfo;  ///< what the procedure's block holds, as text
  std::int32_t procedureVersion = 0;
  CString procedureUid;
  CString procedureAccessionNumber;
  CString procedureTitle;
  CString procedureSite;
  std::int32_t procedureStatus = 0, procedureType = 0;  ///< codes of the file
  CString procedureStartedDateTime, procedureClosedDateTime;
  CString procedureComments;
  CString procedureLocation;
  std::int32_t procedureIsInDb = 0;  ///< not 0: in the database

  CString datasetInfo;  ///< what the dataset's block holds, as text
  std::int32_t datasetVersion = 0;
  CString datasetUid, datasetPatientUid, datasetProcedureUid;
  CString datasetStatus;
  CString datasetRpFile;  ///< run parameter file
  CString datasetProcStepTitle, datasetProcStepProtocol, datasetProcStepDescription;
  CString datasetCollectionDateTime, datasetCollectionSoftware;
  CString datasetCreatorDateTime, datasetCreatorSoftware;
  CString datasetKeywords;
  CString datasetComments;
  CString datasetOperatorName;
  CString datasetLastModifiedDateTime;
  std::int32_t datasetNominalHcPositions = 0;  ///< not 0: head-coil positions are nominal, not measured
  CString datasetCoefsFileName, datasetSensorsFileName;
  CString datasetSystem, datasetSystemType;
  double datasetLowerBandwidth = 0.0, datasetUpperBandwidth = 0.0;  ///< Hz
  std::int32_t datasetIsInDb = 0;                                   ///< not 0: in the database
  std::int32_t datasetHzMode = 0;                                   ///< mode of head localisation
  double datasetMotionTolerance = 0.0, datasetMaxHeadMotion = 0.0;  ///< as in the file
  std::uint16_t datasetMaxHeadMotionTrial = 0;
  CString datasetMaxHeadMotionCoil;

  std::vector<InformationEntry> entries;  ///< every value that was set, in file order
  /// Values as text, without tags: those of the last top-level block, and unknown ones after it.
  CString text;
};

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
