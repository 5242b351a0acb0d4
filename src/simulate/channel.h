#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulate/vector3.h"

namespace ctfmeg::simulate {

// Sensor type indexes of the res4 file.
enum class SensorType : std::int16_t {
  referenceMagnetometer = 0,
  referenceGradiometer = 1,
  gradiometer = 5,
  eeg = 9,
  stimulus = 11,
  systemClock = 17,
  adc = 18,
};

struct Coil {
  Vector3 positionCm;
  Vector3 orientation;  // unit length
};

struct Channel {
  std::string name;
  SensorType type = SensorType::gradiometer;
  double properGain = 1;
  double qGain = 1;
  double ioGain = 1;
  // The same coils in both frames, inner coil first; an electrode is a single "coil".
  std::vector<Coil> dewarCoils;
  std::vector<Coil> headCoils;
  std::int16_t turns = 0;
  double coilAreaCm2 = 0;

  // Raw counts per unit: tesla, volt, second or trigger code.
  double gain() const { return properGain * qGain * ioGain; }
};

inline bool measuresField(SensorType type) {
  return type == SensorType::gradiometer || type == SensorType::referenceGradiometer ||
         type == SensorType::referenceMagnetometer;
}

}  // namespace ctfmeg::simulate
