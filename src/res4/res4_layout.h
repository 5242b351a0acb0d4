#pragma once

#include <megreader/datamodel/record_info.h>
#include <megreader/datamodel/meg_sensor.h>
#include "res4/layout.h"

// The resource file, all numbers big-endian:
//   magic (8 bytes), general header (to byte 1843), run description, number of filters (int16) and filter
//   records each with its parameters (doubles), channel names (32 bytes each), sensor records, number of
//   coefficient records (int16) and coefficient records.

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
  using R = CMEGRecordInfozkProzk;
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
  v.skip(1328, kTriggerBlockSize);  // its meaning depends on the trigger format: see storeTriggers
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
  v.i32(1836, &R::runDescriptionLength);
  v.skip(1840, 4);
};

/// Followed by `numParams` doubles.
inline constexpr auto filterLayout = [](auto& v) {
  v.f64(0, &FilterInfo::frequency);
  v.u32(8, &FilterInfo::filterClass);
  v.u32(12, &FilterInfo::filterType);
  v.i16(16, &FilterInfo::numParams);
};

inline constexpr auto coilLayout = [](auto& v) {
  v.f64s(0, &CMagCoil::position);
  v.f64s(32, &CMagCoil::orientation);
  v.i16(64, &CMagCoil::numTurns);
  v.skip(66, 6);
  v.f64(72, &CMagCoil::area);
};

/// A squid as its sensor record holds it.
struct SensorRecord : CMegSquidzk {
  std::int16_t typeIndex = 0;
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
  v.template records<coilLayout>(48, 80, static_cast<std::array<CMagCoil, 8> R::*>(&R::dewarCoils));
  v.template records<coilLayout>(688, 80, static_cast<std::array<CMagCoil, 8> R::*>(&R::headCoils));
};

inline constexpr auto coefficientLayout = [](auto& v) {
  using R = CCoefficientDatazk;
  v.name(0, 32, &R::sensorName);
  v.u32(32, &R::coefficientType);
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
