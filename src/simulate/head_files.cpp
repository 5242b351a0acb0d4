#include "simulate/head_files.h"

#include <array>
#include <string>

#include "simulate/frames.h"
#include "simulate/text_file.h"

namespace ctfmeg::simulate {

namespace {

namespace fs = std::filesystem;

struct HeadCoil {
  const char* name;
  Vector3 headCm;
  Vector3 assumedInDewarCm;
};

// Ears opposite each other and the nasion straight ahead: so the head frame is defined.
constexpr std::array<HeadCoil, 3> kHeadCoils{{{"nasion", {10.4, 0, 0}, {5.65685, 5.65685, -27}},
                                              {"left ear", {0.3, 7.4, 0}, {-5.65685, 5.65685, -27}},
                                              {"right ear", {-0.3, -7.4, 0}, {5.65685, -5.65685, -27}}}};

std::string coilText(const std::string& kind, const char* coil, const std::string& frame, const Vector3& cm) {
  return kind + " " + coil + " coil position relative to " + frame + " (cm):\n\tx = " + numberText(cm.x) +
         "\n\ty = " + numberText(cm.y) + "\n\tz = " + numberText(cm.z) + "\n";
}

std::string headCoilText() {
  std::string text;
  for (const HeadCoil& coil : kHeadCoils)
    text += coilText("standard", coil.name, "dewar", coil.assumedInDewarCm);
  for (const HeadCoil& coil : kHeadCoils)
    text += coilText("measured", coil.name, "dewar", dewarPositionFromHead(coil.headCm));
  for (const HeadCoil& coil : kHeadCoils)
    text += coilText("measured", coil.name, "head", coil.headCm);
  return text;
}

std::string positionText(const Vector3& cm) {
  return "\t" + numberText(cm.x) + "\t" + numberText(cm.y) + "\t" + numberText(cm.z) + "\n";
}

}  // namespace

void writeHeadFiles(const fs::path& stem, const std::vector<Channel>& channels) {
  std::string electrodes, positions;
  int count = 0;
  for (const Channel& channel : channels) {
    if (channel.type != SensorType::eeg) continue;
    const std::string number = std::to_string(++count);
    const std::string position = positionText(channel.headCoils.front().positionCm);
    electrodes.append(number).append("\t").append(channel.name).append(position);
    positions.append(number).append(position);
  }
  positions.insert(0, std::to_string(count) + "\n");
  for (const auto& [label, place] : {std::pair{"nasion", 0}, {"left", 1}, {"right", 2}})
    positions += label + positionText(kHeadCoils[static_cast<std::size_t>(place)].headCm);

  const auto withSuffix = [&stem](const char* suffix) { return fs::path(stem) += suffix; };
  writeText(withSuffix(".hc"), headCoilText());
  writeText(withSuffix(".eeg"), electrodes);
  writeText(withSuffix(".pos"), positions);
}

}  // namespace ctfmeg::simulate
