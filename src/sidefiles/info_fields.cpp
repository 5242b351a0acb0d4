#include "sidefiles/info_fields.h"

namespace {

using D = DatasetInformation;

// Hosts rely on the order: a tag that contains an earlier one never gets its own value by host rules, as
// "_DATASET_SYSTEMTYPE", which is taken for "_DATASET_SYSTEM".
constexpr InfoField kFields[] = {
    {L"_PATIENT_INFO", InfoBlock{&D::patientInfo}},
    {L"_PATIENT_UID", &D::patientUid},
    {L"_PATIENT_NAME_FIRST", InfoBlock{&D::patientNameFirst}},
    {L"_PATIENT_NAME_MIDDLE", &D::patientNameMiddle},
    {L"_PATIENT_NAME_LAST", &D::patientNameLast},
    {L"_PATIENT_ID", &D::patientId},
    {L"_PATIENT_BIRTHDATE", &D::patientBirthDate},
    {L"_PATIENT_SEX", &D::patientSex},
    {L"_PATIENT_PACS_NAME", &D::patientPacsName},
    {L"_PATIENT_PACS_UID", &D::patientPacsUid},
    {L"_PATIENT_INSTITUTE", &D::patientInstitute},
    {L"_PROCEDURE_INFO", InfoBlock{&D::procedureInfo}},
    {L"_PROCEDURE_VERSION", &D::procedureVersion},
    {L"_PROCEDURE_UID", &D::procedureUid},
    {L"_PROCEDURE_ACCESSIONNUMBER", &D::procedureAccessionNumber},
    {L"_PROCEDURE_TITLE", &D::procedureTitle},
    {L"_PROCEDURE_SITE", &D::procedureSite},
    {L"_PROCEDURE_STATUS", &D::procedureStatus},
    {L"_PROCEDURE_TYPE", &D::procedureType},
    {L"_PROCEDURE_STARTEDDATETIME", &D::procedureStartedDateTime},
    {L"_PROCEDURE_CLOSEDDATETIME", &D::procedureClosedDateTime},
    {L"_PROCEDURE_COMMENTS", &D::procedureComments},
    {L"_PROCEDURE_LOCATION", &D::procedureLocation},
    {L"_PROCEDURE_ISINDB", &D::procedureIsInDb},
    {L"_DATASET_INFO", InfoBlock{&D::datasetInfo}},
    {L"_DATASET_VERSION", &D::datasetVersion},
    {L"_DATASET_UID", &D::datasetUid},
    {L"_DATASET_PATIENTUID", &D::datasetPatientUid},
    {L"_DATASET_PROCEDUREUID", &D::datasetProcedureUid},
    {L"_DATASET_STATUS", &D::datasetStatus},
    {L"_DATASET_RPFILE", &D::datasetRpFile},
    {L"_DATASET_PROCSTEPTITLE", &D::datasetProcStepTitle},
    {L"_DATASET_PROCSTEPPROTOCOL", &D::datasetProcStepProtocol},
    {L"_DATASET_PROCSTEPDESCRIPTION", &D::datasetProcStepDescription},
    {L"_DATASET_COLLECTIONDATETIME", &D::datasetCollectionDateTime},
    {L"_DATASET_COLLECTIONSOFTWARE", &D::datasetCollectionSoftware},
    {L"_DATASET_CREATORDATETIME", &D::datasetCreatorDateTime},
    {L"_DATASET_CREATORSOFTWARE", &D::datasetCreatorSoftware},
    {L"_DATASET_KEYWORDS", &D::datasetKeywords},
    {L"_DATASET_COMMENTS", &D::datasetComments},
    {L"_DATASET_OPERATORNAME", &D::datasetOperatorName},
    {L"_DATASET_LASTMODIFIEDDATETIME", &D::datasetLastModifiedDateTime},
    {L"_DATASET_NOMINALHCPOSITIONS", &D::datasetNominalHcPositions},
    {L"_DATASET_COEFSFILENAME", &D::datasetCoefsFileName},
    {L"_DATASET_SENSORSFILENAME", &D::datasetSensorsFileName},
    {L"_DATASET_SYSTEM", &D::datasetSystem},
    {L"_DATASET_SYSTEMTYPE", &D::datasetSystemType},
    {L"_DATASET_LOWERBANDWIDTH", &D::datasetLowerBandwidth},
    {L"_DATASET_UPPERBANDWIDTH", &D::datasetUpperBandwidth},
    {L"_DATASET_ISINDB", &D::datasetIsInDb},
    {L"_DATASET_HZ_MODE", &D::datasetHzMode},
    {L"_DATASET_MOTIONTOLERANCE", &D::datasetMotionTolerance},
    {L"_DATASET_MAXHEADMOTION", &D::datasetMaxHeadMotion},
    {L"_DATASET_MAXHEADMOTIONTRIAL", &D::datasetMaxHeadMotionTrial},
    {L"_DATASET_MAXHEADMOTIONCOIL", &D::datasetMaxHeadMotionCoil},
};

}  // namespace

std::span<const InfoField> infoFields() { return kFields; }
