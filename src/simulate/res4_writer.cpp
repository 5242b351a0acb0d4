#include "simulate/res4_writer.h"

#include "simulate/big_endian.h"
#include "simulate/compensation.h"
#include "simulate/name_field.h"
#include "simulate/output_file.h"
#include "simulate/random.h"
#include "simulate/res4_header.h"

namespace ctfmeg::simulate {

namespace {

constexpr std::size_t kChannelNameBytes = 32;
constexpr std::size_t kCoilSlots = 8;
constexpr std::size_t kCoilBytes = 80;

BigEndianBuffer encodeNames(const std::vector<Channel>& channels, Random& random) {
  BigEndianBuffer out;
  for (const Channel& channel : channels)
    putName(out, channel.name, kChannelNameBytes, random);
  return out;
}

// Positions and orientations have a fourth component, always 0.
void putVector(BigEndianBuffer& out, const Vector3& v) {
  out.float64(v.x);
  out.float64(v.y);
  out.float64(v.z);
  out.float64(0);
}

void putCoils(BigEndianBuffer& out, const std::vector<Coil>& coils, std::int16_t turns, double areaCm2) {
  for (const Coil& coil : coils) {
    putVector(out, coil.positionCm);
    putVector(out, coil.orientation);
    out.int16(turns);
    out.zeros(6);
    out.float64(areaCm2);
  }
  out.zeros((kCoilSlots - coils.size()) * kCoilBytes);
}

BigEndianBuffer encodeSensor(const Channel& channel) {
  BigEndianBuffer out;
  out.int16(static_cast<std::int16_t>(channel.type));
  out.int16(0);  // original run number
  out.int32(0);  // coil shape: round
  out.float64(channel.properGain);
  out.float64(channel.qGain);
  out.float64(channel.ioGain);
  out.float64(0);  // IO offset
  out.int16(static_cast<std::int16_t>(channel.dewarCoils.size()));
  out.int16(0);  // gradient order: no compensation applied
  out.int32(0);  // stimulus polarity
  putCoils(out, channel.dewarCoils, channel.turns, channel.coilAreaCm2);
  // Head coils leave turns and area to the dewar coil of the same slot.
  putCoils(out, channel.headCoils, 0, 0);
  return out;
}

BigEndianBuffer encodeCoefficientCount(std::size_t count) {
  BigEndianBuffer out;
  out.int16(static_cast<std::int16_t>(count));
  return out;
}

}  // namespace

void writeRes4(const std::filesystem::path& path, const Options& options,
               const std::vector<Channel>& channels) {
  constexpr std::uint64_t kSystemSeed = 4;
  Random random(kSystemSeed);
  OutputFile file(path);
  file.write(encodeRes4Header(options).bytes());
  file.write(encodeNames(channels, random).bytes());
  for (const Channel& channel : channels)
    file.write(encodeSensor(channel).bytes());

  const std::vector<Compensation> compensations = chooseCompensations(channels);
  file.write(encodeCoefficientCount(compensations.size()).bytes());
  for (const Compensation& compensation : compensations) {
    file.write(encodeCompensation(compensation, random).bytes());
  }
  file.close();
}

}  // namespace ctfmeg::simulate
