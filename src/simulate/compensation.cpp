#include "simulate/compensation.h"

#include <algorithm>
#include <limits>

#include "simulate/name_field.h"

namespace ctfmeg::simulate {

namespace {

constexpr std::size_t kMaxRecords = std::numeric_limits<std::int16_t>::max();
constexpr std::size_t kSensorNameBytes = 32;
constexpr std::size_t kReferenceNameBytes = 31;
constexpr std::size_t kReferenceSlots = 50;
constexpr double kWeightLimit = 0.2;

struct Scheme {
  std::string_view name;
  // Beginnings of the names of the references it uses.
  std::vector<std::string_view> blocks;
  bool forReferences;
};

std::vector<Scheme> schemes() {
  return {{"G1BR", {"BG"}, true}, {"G2BR", {"BG", "G"}, false}, {"G3BR", {"BG", "G", "P", "Q", "R"}, false}};
}

bool isReference(const Channel& channel) {
  return channel.type == SensorType::referenceMagnetometer ||
         channel.type == SensorType::referenceGradiometer;
}

bool isCompensated(const Channel& channel, const Scheme& scheme) {
  return channel.type == SensorType::gradiometer ||
         (scheme.forReferences && channel.type == SensorType::referenceGradiometer);
}

std::vector<std::string> referencesOf(const Scheme& scheme, const std::vector<Channel>& channels) {
  std::vector<std::string> names;
  for (const Channel& channel : channels) {
    const auto begins = [&channel](std::string_view block) { return channel.name.starts_with(block); };
    if (isReference(channel) && std::any_of(scheme.blocks.begin(), scheme.blocks.end(), begins)) {
      names.push_back(channel.name);
    }
  }
  return names;
}

}  // namespace

std::vector<Compensation> chooseCompensations(const std::vector<Channel>& channels) {
  std::vector<Compensation> chosen;
  for (const Scheme& scheme : schemes()) {
    const std::vector<std::string> references = referencesOf(scheme, channels);
    if (references.empty()) continue;
    for (const Channel& channel : channels) {
      if (chosen.size() == kMaxRecords) return chosen;
      if (isCompensated(channel, scheme)) chosen.push_back({channel.name, scheme.name, references});
    }
  }
  return chosen;
}

BigEndianBuffer encodeCompensation(const Compensation& compensation, Random& random) {
  const std::size_t unusedSlots = kReferenceSlots - compensation.references.size();
  BigEndianBuffer out;
  putName(out, compensation.sensor, kSensorNameBytes, random);
  out.characters(compensation.scheme);
  out.zeros(4);
  out.int16(static_cast<std::int16_t>(compensation.references.size()));
  for (const std::string& name : compensation.references)
    putName(out, name, kReferenceNameBytes, random);
  out.zeros(unusedSlots * kReferenceNameBytes);
  for (std::size_t i = 0; i < compensation.references.size(); ++i) {
    out.float64(kWeightLimit * random.symmetric());
  }
  out.zeros(unusedSlots * sizeof(double));
  return out;
}

}  // namespace ctfmeg::simulate
