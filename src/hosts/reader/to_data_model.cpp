#include "hosts/reader/to_data_model.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>
#include <variant>

#include "ctf/information_file.h"
#include "ctf/resource_file.h"
#include "hosts/framework/bridge.h"

#include <ctfmeg/record_fields.h>
#include <megreader/framework/encoding.h>

namespace {

template <class T>
void assign(T& target, const T& value) {
  target = value;
}
void assign(std::string& target, const CString& value) { target = toUtf8(value); }
void assign(CString& target, const std::string& value) {
  if (toUtf8(target) != value) target = hostText(value);  // a host's own text stays as it is
}

void store(const ctfmeg::CoilRecord& record, CMagCoil& coil) {
  coil.position = record.position;
  coil.orientation = record.orientation;
  coil.numTurns = record.numTurns;
  coil.area = record.area;
}

using D = DatasetInformation;
using Member = std::variant<CString D::*, std::int32_t D::*, std::uint16_t D::*, double D::*>;

/// In the order of `infoTags()`.
constexpr std::array<Member, 55> kMembers{&D::patientInfo,
                                          &D::patientUid,
                                          &D::patientNameFirst,
                                          &D::patientNameMiddle,
                                          &D::patientNameLast,
                                          &D::patientId,
                                          &D::patientBirthDate,
                                          &D::patientSex,
                                          &D::patientPacsName,
                                          &D::patientPacsUid,
                                          &D::patientInstitute,
                                          &D::procedureInfo,
                                          &D::procedureVersion,
                                          &D::procedureUid,
                                          &D::procedureAccessionNumber,
                                          &D::procedureTitle,
                                          &D::procedureSite,
                                          &D::procedureStatus,
                                          &D::procedureType,
                                          &D::procedureStartedDateTime,
                                          &D::procedureClosedDateTime,
                                          &D::procedureComments,
                                          &D::procedureLocation,
                                          &D::procedureIsInDb,
                                          &D::datasetInfo,
                                          &D::datasetVersion,
                                          &D::datasetUid,
                                          &D::datasetPatientUid,
                                          &D::datasetProcedureUid,
                                          &D::datasetStatus,
                                          &D::datasetRpFile,
                                          &D::datasetProcStepTitle,
                                          &D::datasetProcStepProtocol,
                                          &D::datasetProcStepDescription,
                                          &D::datasetCollectionDateTime,
                                          &D::datasetCollectionSoftware,
                                          &D::datasetCreatorDateTime,
                                          &D::datasetCreatorSoftware,
                                          &D::datasetKeywords,
                                          &D::datasetComments,
                                          &D::datasetOperatorName,
                                          &D::datasetLastModifiedDateTime,
                                          &D::datasetNominalHcPositions,
                                          &D::datasetCoefsFileName,
                                          &D::datasetSensorsFileName,
                                          &D::datasetSystem,
                                          &D::datasetSystemType,
                                          &D::datasetLowerBandwidth,
                                          &D::datasetUpperBandwidth,
                                          &D::datasetIsInDb,
                                          &D::datasetHzMode,
                                          &D::datasetMotionTolerance,
                                          &D::datasetMaxHeadMotion,
                                          &D::datasetMaxHeadMotionTrial,
                                          &D::datasetMaxHeadMotionCoil};

template <class Number>
void assignFitting(Number& member, const decltype(ctfmeg::InformationEntry::value)& value) {
  if constexpr (std::is_same_v<Number, CString>) {
    if (const auto* text = std::get_if<std::string>(&value)) member = hostText(*text);
  } else if constexpr (std::is_same_v<Number, double>) {
    if (const auto* number = std::get_if<double>(&value)) member = *number;
  } else {
    const auto* number = std::get_if<std::int64_t>(&value);
    if (number != nullptr && std::in_range<Number>(*number)) member = static_cast<Number>(*number);
  }
}

InformationEntry toDataModel(const ctfmeg::InformationEntry& entry) {
  InformationEntry converted{hostText(entry.tag), {}};
  if (const auto* text = std::get_if<std::string>(&entry.value))
    converted.value = hostText(*text);
  else if (const auto* number = std::get_if<double>(&entry.value))
    converted.value = *number;
  else
    converted.value = std::get<std::int64_t>(entry.value);
  return converted;
}

}  // namespace

ctfmeg::RecordInfo recordOf(const CMEGRecordInfo& info) {
  ctfmeg::RecordInfo record;
  ctfmeg::forEachRecordField([&](const char*, auto field, bool) { assign(field(record), field(info)); });
  return record;
}

void store(const ctfmeg::RecordInfo& record, CMEGRecordInfo& info) {
  ctfmeg::forEachRecordField([&](const char*, auto field, bool) { assign(field(info), field(record)); });
}

std::unique_ptr<FilterInfo> toDataModel(const ctfmeg::Filter& filter) {
  auto converted = std::make_unique<FilterInfo>();
  ctfmeg::forEachFilterField(
      [&](const char*, auto field, bool) { assign(field(*converted), field(filter)); });
  if (filter.params.empty()) return converted;
  converted->params = std::make_unique<double[]>(filter.params.size());
  std::copy(filter.params.begin(), filter.params.end(), converted->params.get());
  return converted;
}

std::unique_ptr<CMEGSensorzk> toDataModel(const ctfmeg::SensorRecord& record) {
  std::unique_ptr<CMEGSensorzk> sensor(new (std::nothrow) CMEGSensorzk);
  std::unique_ptr<CMegSquidzk> squid(new (std::nothrow) CMegSquidzk);
  if (!sensor || !squid) return nullptr;
  ctfmeg::forEachSensorField([&](const char*, auto field, bool) {
    field(*squid) = static_cast<std::remove_reference_t<decltype(field(*squid))>>(field(record));
  });
  for (std::size_t slot = 0; slot < CMegSquidzk::kCoilSlots; ++slot) {
    store(record.dewarCoils[slot], squid->dewarCoils[slot]);
    store(record.headCoils[slot], squid->headCoils[slot]);
    squid->dewarCoils[slot].coilShape = record.coilShape;
  }
  sensor->sensorType = ctfmeg::sensorTypeOf(record.typeIndex);
  sensor->attachSquid(std::move(squid));
  sensor->sensorGain();
  return sensor;
}

CCoefficientDatazk toDataModel(const ctfmeg::CoefficientFields& fields) {
  CCoefficientDatazk coefficients;
  coefficients.sensorName = hostText(fields.sensorName);
  coefficients.coefficientType = fields.type;
  coefficients.numReferences = fields.numReferences;
  for (const std::string& name : fields.referenceNames)
    coefficients.referenceNames.push_back(hostText(name));
  coefficients.values = fields.values;
  return coefficients;
}

std::unique_ptr<CMarkerDatazk> toDataModel(const ctfmeg::EventGroup& group) {
  std::unique_ptr<CMarkerDatazk> marker(new (std::nothrow) CMarkerDatazk);
  if (!marker) return nullptr;
  marker->name = hostText(group.name);
  marker->comment = hostText(group.comment);
  const std::uint32_t rgb = group.color.value_or(0);
  marker->color = (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16;
  marker->colorKnown = group.color.has_value();
  marker->editable = group.editable;
  marker->classId = group.classId;
  marker->classGroupId = group.classGroupId;
  return marker;
}

static_assert(static_cast<int>(CFiducial::cz) == static_cast<int>(ctfmeg::HeadCoilSet::cz));
static_assert(static_cast<int>(CFiducial::measured) == static_cast<int>(ctfmeg::HeadCoilSet::measured));

ctfmeg::HeadCoilSet coilsOf(const CFiducialzk& set) {
  ctfmeg::HeadCoilSet coils{.numPoints = set.numPoints, .kind = set.positionKind};
  for (std::size_t place = 0; place < set.points.size(); ++place) {
    const FiducialPoint& point = set.points[place];
    coils.coils[place] = {point.x, point.y, point.z, point.valid != 0};
  }
  return coils;
}

void store(const ctfmeg::HeadCoilSet& coils, CFiducialzk& set) {
  set.numPoints = coils.numPoints;
  set.positionKind = coils.kind;
  for (std::size_t place = 0; place < set.points.size(); ++place) {
    const ctfmeg::HeadCoil& coil = coils.coils[place];
    set.points[place] = {coil.x, coil.y, coil.z, coil.valid ? 1 : 0};
  }
}

void store(const ctfmeg::Information& read, DatasetInformation& information) {
  const auto tags = ctfmeg::infoTags();
  information.text = hostText(read.text);
  for (const ctfmeg::InformationEntry& entry : read.entries) {
    information.entries.push_back(toDataModel(entry));
    const auto tag = std::find_if(tags.begin(), tags.end(),
                                  [&](const ctfmeg::InfoTag& known) { return entry.tag == known.name; });
    if (tag == tags.end()) continue;
    std::visit([&](auto member) { assignFitting(information.*member, entry.value); },
               kMembers.at(static_cast<std::size_t>(tag - tags.begin())));
  }
}

std::unique_ptr<CEEGelectrodezk> toDataModel(const ctfmeg::Electrode& electrode) {
  std::unique_ptr<CEEGelectrodezk> converted(new (std::nothrow) CEEGelectrodezk);
  if (!converted) return nullptr;
  converted->number = electrode.number;
  converted->name = hostText(electrode.name);
  converted->x = electrode.positionCm[0];
  converted->y = electrode.positionCm[1];
  converted->z = electrode.positionCm[2];
  return converted;
}

DigitisedFiducial toDataModel(const ctfmeg::DigitisedFiducial& fiducial) {
  const auto& [x, y, z] = fiducial.positionCm;
  return {hostText(fiducial.label), x, y, z};
}

VirtualChannel toDataModel(const ctfmeg::VirtualChannel& channel) {
  VirtualChannel converted{hostText(channel.name), hostText(channel.unit), {}};
  for (const auto& reference : channel.references)
    converted.references.push_back({hostText(reference.channel), reference.weight});
  return converted;
}
