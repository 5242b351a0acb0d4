#include "simulate/magnetic_channel.h"

#include <utility>

#include "simulate/frames.h"

namespace ctfmeg::simulate {

namespace {

constexpr double kConverterGain = 1048576.0;  // 2^20

}  // namespace

Channel makeMagneticChannel(std::string_view label, SensorType type, double properGain,
                            std::vector<Coil> dewarCoils) {
  Channel channel;
  channel.name = std::string(label).append(kSerial);
  channel.type = type;
  channel.properGain = properGain;
  channel.qGain = kConverterGain;
  for (const Coil& coil : dewarCoils) {
    channel.headCoils.push_back(
        {headPositionFromDewar(coil.positionCm), headDirectionFromDewar(coil.orientation)});
  }
  channel.dewarCoils = std::move(dewarCoils);
  return channel;
}

std::vector<Coil> coilPair(const Vector3& positionCm, const Vector3& direction, double baselineCm,
                           const Vector3& orientation) {
  return {{positionCm, orientation}, {positionCm + baselineCm * direction, -1.0 * orientation}};
}

}  // namespace ctfmeg::simulate
