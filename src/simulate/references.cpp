#include "simulate/references.h"

#include <array>
#include <string>

#include "simulate/magnetic_channel.h"

namespace ctfmeg::simulate {

namespace {

constexpr std::array<Vector3, 3> kAxes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

struct Block {
  char letter;
  Vector3 centreCm;  // dewar frame
};

constexpr std::array<Block, 3> kMagnetometerBlocks{
    {{'G', {0, -9.5, 0}}, {'P', {-9.5, 0, 0}}, {'R', {0, 9.5, 0}}}};
constexpr std::array<Block, 4> kGradiometerBlocks{
    {{'G', {0, -9.5, 0}}, {'P', {-9.5, 0, 0}}, {'Q', {9.5, 0, 0}}, {'R', {0, 9.5, 0}}}};

// Where there are no currents the gradient tensor is symmetric and without trace: these five hold all of it.
struct TensorElement {
  int baselineAxis;
  int measuredAxis;
};
constexpr std::array<TensorElement, 5> kTensorElements{{{1, 1}, {1, 2}, {1, 3}, {2, 2}, {2, 3}}};

constexpr double kReferenceBaselineCm = 7.8;
constexpr std::int16_t kReferenceTurns = 1;
constexpr double kMagnetometerAreaCm2 = 2.0;
constexpr double kGradiometerAreaCm2 = 9.1;

constexpr double kMagnetometerGain = 1.22e8;
constexpr double kMagnetometerGainSpread = 0.12e8;
constexpr double kGradiometerGain = 6.3e9;
constexpr double kGradiometerGainSpread = 0.25e9;

constexpr const Vector3& axis(int number) { return kAxes[static_cast<std::size_t>(number - 1)]; }

double signOfGain(Random& random) { return random.coin() ? 1 : -1; }

Channel makeMagnetometer(const Block& block, int measured, Random& random) {
  const double sign = signOfGain(random);
  const std::string label = std::string{'B', block.letter} + std::to_string(measured);
  Channel channel =
      makeMagneticChannel(label, SensorType::referenceMagnetometer,
                          sign * (kMagnetometerGain + kMagnetometerGainSpread * random.symmetric()),
                          {{block.centreCm, -sign * axis(measured)}});
  channel.turns = kReferenceTurns;
  channel.coilAreaCm2 = kMagnetometerAreaCm2;
  return channel;
}

Channel makeGradiometer(const Block& block, const TensorElement& element, Random& random) {
  const double sign = signOfGain(random);
  const std::string label =
      block.letter + std::to_string(element.baselineAxis) + std::to_string(element.measuredAxis);
  const Vector3& baseline = axis(element.baselineAxis);
  const Vector3 first = block.centreCm - kReferenceBaselineCm / 2 * baseline;
  Channel channel = makeMagneticChannel(
      label, SensorType::referenceGradiometer,
      sign * (kGradiometerGain + kGradiometerGainSpread * random.symmetric()),
      coilPair(first, baseline, kReferenceBaselineCm, -sign * axis(element.measuredAxis)));
  channel.turns = kReferenceTurns;
  channel.coilAreaCm2 = kGradiometerAreaCm2;
  return channel;
}

}  // namespace

std::vector<Channel> makeReferences(Random& random) {
  std::vector<Channel> references;
  for (const Block& block : kMagnetometerBlocks) {
    for (int measured = 1; measured <= 3; ++measured) {
      references.push_back(makeMagnetometer(block, measured, random));
    }
  }
  for (const Block& block : kGradiometerBlocks) {
    for (const TensorElement& element : kTensorElements) {
      references.push_back(makeGradiometer(block, element, random));
    }
  }
  return references;
}

}  // namespace ctfmeg::simulate
