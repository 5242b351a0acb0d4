#include "simulate/helmet.h"

#include <cmath>
#include <map>
#include <string>

#include "simulate/frames.h"
#include "simulate/magnetic_channel.h"

namespace ctfmeg::simulate {

namespace {

constexpr double kSensorBaselineCm = 5.0;
constexpr std::int16_t kSensorTurns = 2;
constexpr double kCoilAreaCm2 = 2.5446900494077327;  // 1.8 cm across

constexpr double kMeanGain = 2.85e9;
constexpr double kGainSpread = 0.2e9;

// Half axes of the ellipsoid that the inner coils lie on.
constexpr Vector3 kHalfAxesCm{12.2, 11.2, 11.8};

// Lower rim of the helmet as a height on the unit sphere: deeper at the back than above the eyes.
constexpr double kRimAtEars = -0.3;
constexpr double kRimRiseToFront = 0.2;

// Points on the unit sphere, from the top down to the rim: each turned by the golden angle from the one
// before and lower by the same height, which spreads them evenly.
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

// Beyond what two digits can number, sensors of a region count on with three or more.
std::string manyDigits(int index) { return std::to_string(101 + index); }

// 01 to 99.
std::string midlineDigits(int index) {
  if (index >= 99) return manyDigits(index);
  return std::string{static_cast<char>('0' + (index + 1) / 10), static_cast<char>('0' + (index + 1) % 10)};
}

// Row 1 to 9, column 1 to 7.
std::string lateralDigits(int index) {
  constexpr int kColumns = 7;
  constexpr int kRows = 9;
  if (index >= kRows * kColumns) return manyDigits(index);
  return std::to_string(index / kColumns + 1) + std::to_string(index % kColumns + 1);
}

// The ellipsoid's normal at the image of unit sphere point p.
Vector3 outwardNormal(const Vector3& p) {
  return unit({p.x / kHalfAxesCm.x, p.y / kHalfAxesCm.y, p.z / kHalfAxesCm.z});
}

Channel makeGradiometer(const std::string& label, const Vector3& p, Random& random) {
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

std::vector<Channel> makeHelmet(int count, Random& random) {
  std::map<std::string, std::vector<Vector3>> regions;
  for (const Vector3& point : spiral(count)) {
    regions[std::string{'M', side(point), lobe(point)}].push_back(point);
  }
  std::vector<Channel> helmet;
  for (const auto& [region, points] : regions) {
    const auto digits = region[1] == 'Z' ? midlineDigits : lateralDigits;
    int index = 0;
    for (const Vector3& point : points) {
      helmet.push_back(makeGradiometer(region + digits(index++), point, random));
    }
  }
  return helmet;
}

}  // namespace ctfmeg::simulate
