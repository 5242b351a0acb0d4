#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include <megreader/framework/cstring.h>

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
