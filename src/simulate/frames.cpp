#include "simulate/frames.h"

namespace ctfmeg::simulate {

namespace {

constexpr double kHalfSqrt2 = 0.7071067811865476;

constexpr Vector3 kHelmetCentreInDewarCm{0.0, 0.0, -20.5};
constexpr Vector3 kHelmetCentreInHeadCm{0.8, 0.2, 5.2};

// The lean is the angle of a triangle with sides 13, 84 and 85 (8.8 degrees), so that it is exact.
constexpr double kSineOfLean = 13.0 / 85.0;
constexpr double kCosineOfLean = 84.0 / 85.0;

}  // namespace

Vector3 dewarDirectionFromHelmet(const Vector3& d) {
  return {kHalfSqrt2 * (d.x - d.y), kHalfSqrt2 * (d.x + d.y), d.z};
}

Vector3 dewarPositionFromHelmet(const Vector3& positionCm) {
  return dewarDirectionFromHelmet(positionCm) + kHelmetCentreInDewarCm;
}

Vector3 headDirectionFromDewar(const Vector3& d) {
  const Vector3 helmet{kHalfSqrt2 * (d.x + d.y), kHalfSqrt2 * (d.y - d.x), d.z};
  return {kCosineOfLean * helmet.x + kSineOfLean * helmet.z, helmet.y,
          kCosineOfLean * helmet.z - kSineOfLean * helmet.x};
}

Vector3 headPositionFromDewar(const Vector3& positionCm) {
  return headDirectionFromDewar(positionCm - kHelmetCentreInDewarCm) + kHelmetCentreInHeadCm;
}

Vector3 dewarPositionFromHead(const Vector3& positionCm) {
  const Vector3 head = positionCm - kHelmetCentreInHeadCm;
  return dewarPositionFromHelmet(
      {kCosineOfLean * head.x - kSineOfLean * head.z, head.y, kSineOfLean * head.x + kCosineOfLean * head.z});
}

}  // namespace ctfmeg::simulate
