#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulate/geometry.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

/// Sensor type indexes of the res4 file.
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
  /// The same coils in both frames, inner coil first; an electrode is a single "coil".
  std::vector<Coil> dewarCoils;
  std::vector<Coil> headCoils;
  std::int16_t turns = 0;
  double coilAreaCm2 = 0;

  /// Raw counts per unit: tesla, volt, second or trigger code.
  double gain() const { return properGain * qGain * ioGain; }

  /// In tesla, of a sum over the coils of orientation . B. Raw counts follow the coils with their sign
  /// reversed: counts = -|gain| x sum. After division by the gain with its sign, field out of the head is
  /// positive in all gradiometers.
  double shown(double sum) const { return gain() > 0 ? -sum : sum; }
};

inline bool measuresField(SensorType type) {
  return type == SensorType::gradiometer || type == SensorType::referenceGradiometer ||
         type == SensorType::referenceMagnetometer;
}

/// Every magnetic channel of the system carries its serial number: "MLC11-2901".
inline constexpr std::string_view kSerial = "-2901";

inline constexpr int kReferences = 29;
inline constexpr double kClockTicksPerSecond = 12000.0;

/// The reference sensors above the helmet: 9 magnetometers BG1 to BR3 (block G, P or R, dewar axis measured)
/// and 20 first-order gradiometers G11 to R23 (block, dewar axis of the baseline, dewar axis measured).
std::vector<Channel> makeReferences(Random& random);

/// `count` first-order axial gradiometers with a baseline of 5 cm, roughly evenly spread over a head-shaped
/// helmet that covers the top, the sides and the back. Names are unique: M, side L, R or Z (midline), region
/// C, F, O, P or T, two digits (three or more in a helmet too dense for that). Ordered by side and region.
std::vector<Channel> makeHelmet(int count, Random& random);

/// `count` channels in file order: stimulus, clock, references, helmet, electrodes, ADCs. Options::channels
/// says which of them a small system lacks. The system is the same for every seed.
std::vector<Channel> makeChannels(int count);

}  // namespace ctfmeg::simulate
