#include <string>
#include <string_view>
#include <vector>

#include "simulate/compensation.h"
#include "simulate/files.h"
#include "simulate/output.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

namespace {

/// A name field of `width` bytes the way acquisition software leaves it: the name, a zero byte, then whatever
/// the memory held before. Names are shorter than the field.
void putName(BigEndianBuffer& out, std::string_view name, std::size_t width, Random& random) {
  out.characters(name);
  out.byte(0);
  for (std::size_t i = name.size() + 1; i < width; ++i)
    out.byte(static_cast<std::uint8_t>(random.next() >> 56));
}

void putGeneral(BigEndianBuffer& out, const Options& options) {
  const double samples = static_cast<double>(options.samples);
  out.text("MEG42RS", 8);
  out.text("CTF dataset simulation", 256);                        // application
  out.text("simulated", 256);                                     // data origin
  out.text("Dipoles in a sphere seen by a whole-head MEG", 256);  // data description
  out.int16(0);                                                   // trials averaged
  out.text("12:00", 255);                                         // time
  out.text("01-Jan-2024", 255);                                   // date
  out.int32(static_cast<std::int32_t>(options.samples));
  out.int16(static_cast<std::int16_t>(options.channels));
  out.zeros(2);
  out.float64(options.rate);
  out.float64(samples * options.trials / options.rate);  // epoch time: of all trials together
  out.int16(static_cast<std::int16_t>(options.trials));
  out.zeros(2);
  out.int32(options.preTrigger);
  out.int16(static_cast<std::int16_t>(options.trials));  // trials done
  out.int16(static_cast<std::int16_t>(options.trials));  // trials displayed
  out.int32(1);                                          // trials are saved
}

void putTrigger(BigEndianBuffer& out) {
  out.byte(1);   // primary trigger
  out.zeros(8);  // secondary triggers
  out.byte(0);   // polarity mask
  out.zeros(2);
  out.int16(0);  // format of these: a byte for each trigger
  out.zeros(2);
}

void putAcquisitionSettings(BigEndianBuffer& out) {
  out.int32(0);
  out.int16(0);
  out.zeros(2);
  out.int32(0);
  out.int32(0);
}

void putRun(BigEndianBuffer& out) {
  out.text("simulated", 32);            // run name
  out.text("Auditory responses", 256);  // run title
  out.text("helmet gradiometers", 32);  // instruments
  out.text("simulated", 32);            // collection descriptor
  out.text("SIM0001", 32);              // subject
  out.text("simulate", 32);             // operator
  out.text("simulated.sens", 60);       // sensor file
}

void putDescription(BigEndianBuffer& out, std::uint64_t seed) {
  const std::string description =
      "Simulated recording, seed " + std::to_string(seed) +
      ". Responses of both auditory cortices to the trigger, occipital alpha rhythm and sensor noise.";
  const std::size_t length = description.size() + 1;  // with the zero byte that ends it
  out.int32(static_cast<std::int32_t>(length));
  out.int32(0);
  out.text(description, length);
}

struct Filter {
  double frequency;
  std::int32_t filterClass;
  std::int32_t type;
  std::vector<double> parameters;
};

void putFilters(BigEndianBuffer& out, double rate) {
  constexpr std::int32_t kButterworth = 1;
  constexpr std::int32_t kLowPass = 1;
  constexpr std::int32_t kHighPass = 2;
  const std::vector<Filter> filters{
      {rate / 4, kButterworth, kLowPass, {}},             // against aliasing
      {0.05, kButterworth, kHighPass, {4.0, 0.5, 0.01}},  // with order, damping and settling
  };
  out.int16(static_cast<std::int16_t>(filters.size()));
  for (const Filter& filter : filters) {
    out.float64(filter.frequency);
    out.int32(filter.filterClass);
    out.int32(filter.type);
    out.int16(static_cast<std::int16_t>(filter.parameters.size()));
    for (const double parameter : filter.parameters)
      out.float64(parameter);
  }
}

/// From the magic to the end of the filters.
BigEndianBuffer encodeHeader(const Options& options) {
  BigEndianBuffer out;
  putGeneral(out, options);
  putTrigger(out);
  putAcquisitionSettings(out);
  putRun(out);
  putDescription(out, options.seed);
  putFilters(out, options.rate);
  return out;
}

constexpr std::size_t kCoilSlots = 8;
constexpr std::size_t kCoilBytes = 80;

BigEndianBuffer encodeNames(const std::vector<Channel>& channels, Random& random) {
  BigEndianBuffer out;
  for (const Channel& channel : channels)
    putName(out, channel.name, kChannelNameBytes, random);
  return out;
}

/// Positions and orientations have a fourth component, always 0.
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

constexpr std::size_t kSensorNameBytes = 32;
constexpr std::size_t kReferenceNameBytes = 31;
constexpr std::size_t kReferenceSlots = 50;

BigEndianBuffer encodeCompensation(const Compensation& compensation, Random& random) {
  const std::size_t unusedSlots = kReferenceSlots - compensation.references.size();
  BigEndianBuffer out;
  putName(out, compensation.sensor, kSensorNameBytes, random);
  out.characters(compensation.scheme);
  out.zeros(4);
  out.int16(static_cast<std::int16_t>(compensation.references.size()));
  for (const Compensation::Reference& reference : compensation.references)
    putName(out, reference.name, kReferenceNameBytes, random);
  out.zeros(unusedSlots * kReferenceNameBytes);
  for (const Compensation::Reference& reference : compensation.references)
    out.float64(reference.weight);
  out.zeros(unusedSlots * sizeof(double));
  return out;
}

}  // namespace

void writeRes4(const std::filesystem::path& stem, const Options& options,
               const std::vector<Channel>& channels) {
  constexpr std::uint64_t kSystemSeed = 4;
  Random random(kSystemSeed);
  OutputFile file(stem, ".res4");
  file.write(encodeHeader(options).bytes());
  file.write(encodeNames(channels, random).bytes());
  for (const Channel& channel : channels)
    file.write(encodeSensor(channel).bytes());

  const std::vector<Compensation> compensations = chooseCompensations(channels);
  file.write(encodeCoefficientCount(compensations.size()).bytes());
  for (const Compensation& compensation : compensations)
    file.write(encodeCompensation(compensation, random).bytes());
  file.close();
}

}  // namespace ctfmeg::simulate
