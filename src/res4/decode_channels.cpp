#include <new>

#include <megreader/datamodel/coordinate_process.h>
#include "res4/decode.h"
#include "res4/res4_layout.h"

namespace {

/// From CTF axes and the file's unit to the data model's.
void convertCoil(CMagCoil& coil, const ReadingRules& rules) {
  CCoordinateProcesszk::cvtCtf_D3Dzk(coil.position[0], coil.position[1], coil.position[2]);
  CCoordinateProcesszk::cvtCtf_D3Dzk(coil.orientation[0], coil.orientation[1], coil.orientation[2]);
  if (!rules.coilsAreCentimetres) coil.convertCTFm2zkCm();
}

}  // namespace

ChannelName decodeChannelName(std::span<const std::byte> block, std::size_t index,
                              const ReadingRules& rules) {
  ChannelName channel;
  channel.name = decodeName(block, index * kChannelNameSize, kChannelNameSize, rules).Trim();
  const int dash = channel.name.Find(L'-');
  channel.shortName = dash > 0 ? channel.name.Left(dash) : channel.name;
  return channel;
}

int mapSensorType(std::int16_t index) {
  static constexpr std::array<int, 30> codes{
      10,  11,  12,  13,  100,  101, 102,  103,  300,  302,  // 0 to 9
      400, 600, 700, 800, 401,  900, 903,  701,  402,  601,  // 10 to 19
      602, 303, 354, 200, 5001, 901, 1000, 1001, 1002, 4000};
  return index >= 0 && static_cast<std::size_t>(index) < codes.size() ? codes[static_cast<std::size_t>(index)]
                                                                      : -1;
}

std::unique_ptr<CMEGSensorzk> decodeSensor(std::span<const std::byte> record, const ReadingRules& rules) {
  std::unique_ptr<CMEGSensorzk> sensor(new (std::nothrow) CMEGSensorzk);
  std::unique_ptr<CMegSquidzk> squid(new (std::nothrow) CMegSquidzk);
  if (!sensor || !squid) return nullptr;

  SensorRecord fields;
  LayoutDecoder decoder(fields, record, rules);
  sensorLayout(decoder);
  for (std::size_t slot = 0; slot < CMegSquidzk::kCoilSlots; ++slot) {
    CMagCoil& dewar = fields.dewarCoils[slot];
    CMagCoil& head = fields.headCoils[slot];
    dewar.coilShape = fields.coilShape;
    if (head.numTurns == 0) head.numTurns = dewar.numTurns;
    if (head.area == 0.0) head.area = dewar.area;
    convertCoil(dewar, rules);
    convertCoil(head, rules);
  }
  *squid = static_cast<const CMegSquidzk&>(fields);
  sensor->sensorType = mapSensorType(fields.typeIndex);
  sensor->attachSquid(std::move(squid));
  sensor->sensorGain();
  return sensor;
}
