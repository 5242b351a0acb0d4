#include <array>
#include <cmath>
#include <map>
#include <string>
#include <utility>

#include "simulate/channels.h"

namespace ctfmeg::simulate {

namespace {

constexpr double kConverterGain = 1048576.0;  // 2^20

/// A channel of magnetic coils given in the dewar frame, with the converter gain all of them share; its head
/// coils follow from the dewar coils.
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

/// Two coils `baselineCm` apart: the first at `positionCm` facing along `orientation`, the other further
/// along the unit vector `direction` facing against it.
std::vector<Coil> coilPair(const Vector3& positionCm, const Vector3& direction, double baselineCm,
                           const Vector3& orientation) {
  return {{positionCm, orientation}, {positionCm + baselineCm * direction, -1.0 * orientation}};
}

constexpr std::array<Vector3, 3> kAxes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

struct Block {
  char letter;
  Vector3 centreCm;  // dewar frame
};

constexpr std::array<Block, 3> kMagnetometerBlocks{
    {{'G', {0, -9.5, 0}}, {'P', {-9.5, 0, 0}}, {'R', {0, 9.5, 0}}}};
constexpr std::array<Block, 4> kGradiometerBlocks{
    {{'G', {0, -9.5, 0}}, {'P', {-9.5, 0, 0}}, {'Q', {9.5, 0, 0}}, {'R', {0, 9.5, 0}}}};

/// Where there are no currents the gradient tensor is symmetric and without trace: these five hold all of it.
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

Channel makeReferenceMagnetometer(const Block& block, int measured, Random& random) {
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

Channel makeReferenceGradiometer(const Block& block, const TensorElement& element, Random& random) {
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

constexpr double kSensorBaselineCm = 5.0;
constexpr std::int16_t kSensorTurns = 2;
constexpr double kCoilAreaCm2 = 2.5446900494077327;  // 1.8 cm across

constexpr double kMeanGain = 2.85e9;
constexpr double kGainSpread = 0.2e9;

/// Half axes of the ellipsoid that the inner coils lie on.
constexpr Vector3 kHalfAxesCm{12.2, 11.2, 11.8};

/// Lower rim of the helmet as a height on the unit sphere: deeper at the back than above the eyes.
constexpr double kRimAtEars = -0.3;
constexpr double kRimRiseToFront = 0.2;

/// Points on the unit sphere, from the top down to the rim: each turned by the golden angle from the one
/// before and lower by the same height, which spreads them evenly.
std::vector<Vector3> spiral(int count) {
  constexpr double kCosGoldenAngle = -0.7373688780783197;
  constexpr double kSinGoldenAngle = 0.6754902942615238;
  std::vector<Vector3> points;
  double cosAzimuth = 1;
  double sinAzimuth = 0;
  for (int i = 0; i < count; ++i) {
    const double rim = kRimAtEars + kRimRiseToFront * cosAzimuth;
    const double height = 1 - (i + 0.5) / count * (1 - rim);
    const double radius = std::sqrt(1 - height * height);
    points.push_back({radius * cosAzimuth, radius * sinAzimuth, height});
    const double turned = cosAzimuth * kCosGoldenAngle - sinAzimuth * kSinGoldenAngle;
    sinAzimuth = sinAzimuth * kCosGoldenAngle + cosAzimuth * kSinGoldenAngle;
    cosAzimuth = turned;
  }
  return points;
}

char lobe(const Vector3& p) {
  if (p.z < 0.4 && std::abs(p.y) > 0.9 * std::abs(p.x)) return 'T';
  if (p.x > 0.35) return 'F';
  if (p.x > -0.25) return 'C';
  return p.z > 0.3 ? 'P' : 'O';
}

char side(const Vector3& p) {
  constexpr double kMidlineHalfWidth = 0.05;
  if (std::abs(p.y) < kMidlineHalfWidth) return 'Z';
  return p.y > 0 ? 'L' : 'R';
}

/// Beyond what two digits can number, sensors of a region count on with three or more.
std::string manyDigits(int index) { return std::to_string(101 + index); }

/// 01 to 99.
std::string midlineDigits(int index) {
  if (index >= 99) return manyDigits(index);
  return std::string{static_cast<char>('0' + (index + 1) / 10), static_cast<char>('0' + (index + 1) % 10)};
}

/// Row 1 to 9, column 1 to 7.
std::string lateralDigits(int index) {
  constexpr int kColumns = 7;
  constexpr int kRows = 9;
  if (index >= kRows * kColumns) return manyDigits(index);
  return std::to_string(index / kColumns + 1) + std::to_string(index % kColumns + 1);
}

/// The ellipsoid's normal at the image of unit sphere point p.
Vector3 outwardNormal(const Vector3& p) {
  return unit({p.x / kHalfAxesCm.x, p.y / kHalfAxesCm.y, p.z / kHalfAxesCm.z});
}

Channel makeHelmetGradiometer(const std::string& label, const Vector3& p, Random& random) {
  const Vector3 innerCoilCm{kHalfAxesCm.x * p.x, kHalfAxesCm.y * p.y, kHalfAxesCm.z * p.z};
  const Vector3 outward = dewarDirectionFromHelmet(outwardNormal(p));
  // The inner coil faces the head where the gain is positive and away from it where it is negative, so that
  // field coming out of the head is positive in every channel.
  const double sign = random.coin() ? 1 : -1;
  const double properGain = sign * (kMeanGain + kGainSpread * random.symmetric());
  Channel channel = makeMagneticChannel(
      label, SensorType::gradiometer, properGain,
      coilPair(dewarPositionFromHelmet(innerCoilCm), outward, kSensorBaselineCm, -sign * outward));
  channel.turns = kSensorTurns;
  channel.coilAreaCm2 = kCoilAreaCm2;
  return channel;
}

}  // namespace

std::vector<Channel> makeReferences(Random& random) {
  std::vector<Channel> references;
  for (const Block& block : kMagnetometerBlocks)
    for (int measured = 1; measured <= 3; ++measured)
      references.push_back(makeReferenceMagnetometer(block, measured, random));
  for (const Block& block : kGradiometerBlocks)
    for (const TensorElement& element : kTensorElements)
      references.push_back(makeReferenceGradiometer(block, element, random));
  return references;
}

std::vector<Channel> makeHelmet(int count, Random& random) {
  std::map<std::string, std::vector<Vector3>> regions;
  for (const Vector3& point : spiral(count))
    regions[std::string{'M', side(point), lobe(point)}].push_back(point);
  std::vector<Channel> helmet;
  for (const auto& [region, points] : regions) {
    const auto digits = region[1] == 'Z' ? midlineDigits : lateralDigits;
    int index = 0;
    for (const Vector3& point : points)
      helmet.push_back(makeHelmetGradiometer(region + digits(index++), point, random));
  }
  return helmet;
}

}  // namespace ctfmeg::simulate
