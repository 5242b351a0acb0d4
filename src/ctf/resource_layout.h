#pragma once

#include "ctf/layout.h"

#include <ctfmeg/record.h>

// The resource file, all numbers big-endian:
//   magic (8 bytes), general header (to byte 1843), run description, number of filters (int16) and filter
//   records each with its parameters (doubles), channel names (32 bytes each), sensor records, number of
//   coefficient records (int16) and coefficient records.

namespace ctfmeg {

inline constexpr std::size_t kMagicSize = 8;
inline constexpr std::size_t kGeneralHeaderStart = 8;
inline constexpr std::size_t kTriggerBlockOffset = 1328;
inline constexpr std::size_t kTriggerBlockSize = 10;
inline constexpr std::size_t kRunDescriptionStart = 1844;
inline constexpr std::size_t kFilterRecordSize = 18;
inline constexpr std::size_t kChannelNameSize = 32;
inline constexpr std::size_t kSensorRecordSize = 1328;
inline constexpr std::size_t kCoefficientRecordSize = 1992;

/// Offsets from the start of the file.
inline constexpr auto generalHeaderLayout = [](auto& v) {
  using R = RecordInfo;
  v.text(8, 256, &R::appName);
  v.text(264, 256, &R::dataOrigin);
  v.text(520, 256, &R::dataDescription);
  v.i16(776, &R::numTrialsAvgd);
  v.text(778, 255, &R::dataTime);
  v.text(1033, 255, &R::dataDate);
  v.i32(1288, &R::samplesPerTrial, &R::samplesPerTrialAcq);
  v.i16(1292, &R::numChannels);
  v.skip(1294, 2);
  v.f64(1296, &R::sampleRate, &R::sampleRateAcq);
  v.f64(1304, &R::epochTime);
  v.i16(1312, &R::numTrials);
  v.skip(1314, 2);
  v.i32(1316, &R::preTrigSamples, &R::preTrigSamplesAcq);
  v.i16(1320, &R::numTrialsDone);
  v.i16(1322, &R::numTrialsDisplay);
  v.i32(1324, &R::saveTrials);
  v.skip(1328, kTriggerBlockSize);  // its meaning depends on the trigger format: see decodeTriggers
  v.skip(1338, 2);
  v.i16(1340, &R::triggerFormat);
  v.skip(1342, 2);
  v.i32(1344, &R::acqSetting1);
  v.i16(1348, &R::acqSetting2);
  v.skip(1350, 2);
  v.i32(1352, &R::acqSetting3);
  v.i32(1356, &R::acqSetting4);
  v.text(1360, 32, &R::runName);
  v.text(1392, 256, &R::runTitle);
  v.text(1648, 32, &R::instruments);
  v.text(1680, 32, &R::collectDescriptor);
  v.text(1712, 32, &R::subjectId);
  v.text(1744, 32, &R::operatorName);
  v.text(1776, 60, &R::sensorFileName);
  v.skip(1836, 4);  // length of the run description: counts once that was read
  v.skip(1840, 4);
};
inline constexpr std::size_t kDescriptionLengthOffset = 1836;

/// Followed by `numParams` doubles.
inline constexpr auto filterLayout = [](auto& v) {
  v.f64(0, &Filter::frequency);
  v.u32(8, &Filter::filterClass);
  v.u32(12, &Filter::filterType);
  v.i16(16, &Filter::numParams);
};

/// One of the eight places for a coil that a sensor record has; the fourth number of each vector is as in
/// the file.
struct CoilRecord {
  std::array<double, 4> position{};     ///< centimetres in every known file
  std::array<double, 4> orientation{};  ///< a unit vector in sound ones
  std::int32_t numTurns = 0;
  double area = 0.0;  ///< square centimetres
};

inline constexpr auto coilLayout = [](auto& v) {
  v.f64s(0, &CoilRecord::position);
  v.f64s(32, &CoilRecord::orientation);
  v.i16(64, &CoilRecord::numTurns);
  v.skip(66, 6);
  v.f64(72, &CoilRecord::area);
};

/// What a sensor record says of one channel.
struct SensorRecord {
  static constexpr std::size_t kCoilSlots = 8;

  std::int32_t typeIndex = 0;
  std::int32_t originalRun = 0;
  std::int32_t coilShape = 0;
  double properGain = 0.0, qGain = 0.0, ioGain = 0.0, ioOffset = 0.0;
  std::int32_t numCoils = 0;  ///< as read; may be outside 0 to 8
  std::int32_t gradientOrder = 0;
  std::int32_t stimPolarity = 0;
  std::array<CoilRecord, kCoilSlots> dewarCoils{};
  std::array<CoilRecord, kCoilSlots> headCoils{};
};

inline constexpr auto sensorLayout = [](auto& v) {
  using R = SensorRecord;
  v.i16(0, &R::typeIndex);
  v.i16(2, &R::originalRun);
  v.i32(4, &R::coilShape);
  v.f64(8, &R::properGain);
  v.f64(16, &R::qGain);
  v.f64(24, &R::ioGain);
  v.f64(32, &R::ioOffset);
  v.i16(40, &R::numCoils);
  v.i16(42, &R::gradientOrder);
  v.i32(44, &R::stimPolarity);
  v.template records<coilLayout>(48, 80, &R::dewarCoils);
  v.template records<coilLayout>(688, 80, &R::headCoils);
};

/// A coefficient record as it is in the file: lists side by side, of which the first `numReferences` count.
struct CoefficientFields {
  static constexpr std::size_t kReferenceSlots = 50;

  std::string sensorName;
  std::uint32_t type = 0;
  std::int32_t numReferences = 0;  ///< as read, so a damaged file may leave it negative
  std::vector<std::string> referenceNames;
  std::vector<double> values;
};

inline constexpr auto coefficientLayout = [](auto& v) {
  using R = CoefficientFields;
  v.name(0, 32, &R::sensorName);
  v.u32(32, &R::type);
  v.skip(36, 4);
  v.i16(40, &R::numReferences);
  v.texts(42, 31, R::kReferenceSlots, &R::referenceNames, &R::numReferences);
  v.f64s(1592, R::kReferenceSlots, &R::values, &R::numReferences);
};

consteval std::size_t layoutEnd(auto layout, std::size_t origin = 0) {
  LayoutProof proof(origin);
  layout(proof);
  return proof.end();
}

static_assert(layoutEnd(generalHeaderLayout, kGeneralHeaderStart) == kRunDescriptionStart);
static_assert(layoutEnd(filterLayout) == kFilterRecordSize);
static_assert(layoutEnd(sensorLayout) == kSensorRecordSize);
static_assert(layoutEnd(coefficientLayout) == kCoefficientRecordSize);

}  // namespace ctfmeg
