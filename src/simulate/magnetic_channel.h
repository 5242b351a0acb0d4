#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulate/channel.h"

namespace ctfmeg::simulate {

// Every magnetic channel of the system carries its serial number: "MLC11-2901".
inline constexpr std::string_view kSerial = "-2901";

// A channel of magnetic coils given in the dewar frame, with the converter gain all of them share; its head
// coils follow from the dewar coils.
Channel makeMagneticChannel(std::string_view label, SensorType type, double properGain,
                            std::vector<Coil> dewarCoils);

// Two coils `baselineCm` apart: the first at `positionCm` facing along `orientation`, the other further along
// the unit vector `direction` facing against it.
std::vector<Coil> coilPair(const Vector3& positionCm, const Vector3& direction, double baselineCm,
                           const Vector3& orientation);

}  // namespace ctfmeg::simulate
