#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <ctfmeg/export.h>

// What a dataset's resource file says about a recording, in plain structs. Texts are UTF-8. Members named
// as in the CTF world or in the data model keep that name.

namespace ctfmeg {
inline namespace v1 {

/// One filter that the acquisition applied.
struct Filter {
  std::uint32_t filterClass = 0;
  std::uint32_t filterType = 0;
  double frequency = 0.0;  ///< Hz
  std::int32_t numParams = 0;
  std::vector<double> params;  ///< under host rules their bytes are in the file's order
};

/// The run, from the resource file's general header. Its texts are free, and may name a person.
struct RecordInfo {
  std::int32_t samplesPerTrial = 0, samplesPerTrialAcq = 0;
  std::int32_t preTrigSamples = 0,
               preTrigSamplesAcq = 0;  ///< samples before the trigger; negative: it lies before the trial
  double sampleRate = 0.0, sampleRateAcq = 0.0;  ///< Hz
  double epochTime = 0.0;                        ///< seconds
  std::int32_t numChannels = 0;
  std::int32_t numTrials = 0;
  std::int32_t numTrialsDone = 0;
  std::int32_t numTrialsDisplay = 0;
  std::int32_t saveTrials = 0;  ///< not 0 when single trials were saved
  std::int32_t numTrialsAvgd = 0;
  std::int32_t triggerFormat = 0;
  /// Format 0: primary trigger, polarity mask, eight secondary triggers. Format 1: two words.
  std::array<std::uint32_t, 10> triggerCodes{};
  /// Settings of the acquisition, as in the file.
  std::int32_t acqSetting1 = 0, acqSetting2 = 0, acqSetting3 = 0, acqSetting4 = 0;
  std::string appName, dataOrigin, dataDescription, dataTime, dataDate;
  std::string runName, runTitle, instruments, collectDescriptor, subjectId, operatorName, sensorFileName;
  std::string runDescription;
  std::int32_t runDescriptionLength = 0;  ///< bytes in the file
  std::vector<Filter> filters;            ///< in file order
};

/// One pick-up coil. Axes of the data model: x right, y front, z up for the head; CTF axes turned by
/// (x, y, z) -> (-y, x, z) for the dewar too.
struct Coil {
  std::array<double, 3> positionCm{};
  std::array<double, 3> orientation{};  ///< as in the file: a unit vector in sound ones
  std::int32_t turns = 0;
  double areaCm2 = 0.0;
};

enum class ChannelKind {
  refMagnetometer,
  refGradiometer,
  magnetometer,
  gradiometer,
  reset,
  eegRef,
  eeg,
  adc,
  dac,
  stim,
  clock,
  position,
  other
};

/// The kind as scripts know it, such as "ref-magnetometer".
CTFMEG_API const char* nameOf(ChannelKind kind);

/// One channel: what it is, how its values are made physical, and where its coils are.
struct Channel {
  int index = 0;                 ///< place in the dataset, from 0
  std::string name;              ///< such as "MLC11-2805"
  std::string shortName;         ///< such as "MLC11"
  std::int32_t sensorType = -1;  ///< code of the data model, its family in the hundreds; -1 when unknown
  ChannelKind kind = ChannelKind::other;
  std::string unit;   ///< "T", "V", "s", "m", or "1" where there is none
  double gain = 1.0;  ///< the factor in use: physical = raw / gain
  bool good = true;   ///< false: the dataset marks it as bad
  /// +1, or -1 where properGain is negative: what a forward model multiplies coil orientations by, which have
  /// the polarity of raw values, to agree with physical values.
  int polarity = 1;
  std::int32_t originalRun = 0;  ///< number of the run that the channel was first recorded in
  std::int32_t coilShape = 0;    ///< code as in the file
  double properGain = 0.0, qGain = 0.0, ioGain = 0.0, ioOffset = 0.0;  ///< as in the file
  std::int32_t numCoils = 0;                                           ///< as in the file
  std::int32_t gradientOrder = 0;  ///< of the compensation that the samples carry, 0 for none
  std::int32_t stimPolarity = 0;
  std::vector<Coil> dewarCoils;  ///< `numCoils` of them, 0 to 8, in dewar coordinates
  std::vector<Coil> headCoils;   ///< the same coils in head coordinates
};

/// The weight of one reference channel.
struct Coefficient {
  std::string reference;  ///< name of the reference channel
  double value = 0.0;
};

/// The weights with which reference channels are combined with a sensor.
struct CoefficientRecord {
  std::string sensor;
  std::uint32_t type = 0;  ///< four characters, most significant first: 0x47314252 is "G1BR"
  std::vector<Coefficient> references;
};

/// The type's four characters when all are printable ASCII, else empty.
CTFMEG_API std::string coefficientTypeName(std::uint32_t type);

}  // namespace v1
}  // namespace ctfmeg
