#pragma once

#include <cmath>

namespace ctfmeg::simulate {

struct Vector3 {
  double x = 0;
  double y = 0;
  double z = 0;
};

inline Vector3 operator+(const Vector3& a, const Vector3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vector3 operator-(const Vector3& a, const Vector3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vector3 operator*(double s, const Vector3& a) { return {s * a.x, s * a.y, s * a.z}; }

inline double dot(const Vector3& a, const Vector3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline double norm(const Vector3& a) { return std::sqrt(dot(a, a)); }
inline Vector3 unit(const Vector3& a) { return (1 / norm(a)) * a; }
inline Vector3 cross(const Vector3& a, const Vector3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Frames, positions in centimetres:
//   dewar   z up, x and y at 45 degrees right and left of the nose, origin above the helmet among the
//   references helmet  axes like the head's but fixed to the dewar, origin in the middle of the helmet head
//   x to the nose, y left, z up, origin between the ears
// The head is in the helmet leaning back a little: one rigid transform relates their frames.

inline constexpr double kMetresPerCm = 0.01;
inline constexpr double kHalfSqrt2 = 0.7071067811865476;

inline constexpr Vector3 kHelmetCentreInDewarCm{0.0, 0.0, -20.5};
inline constexpr Vector3 kHelmetCentreInHeadCm{0.8, 0.2, 5.2};

/// The lean is the angle of a triangle with sides 13, 84 and 85 (8.8 degrees), so that it is exact.
inline constexpr double kSineOfLean = 13.0 / 85.0;
inline constexpr double kCosineOfLean = 84.0 / 85.0;

inline Vector3 dewarDirectionFromHelmet(const Vector3& d) {
  return {kHalfSqrt2 * (d.x - d.y), kHalfSqrt2 * (d.x + d.y), d.z};
}

inline Vector3 dewarPositionFromHelmet(const Vector3& positionCm) {
  return dewarDirectionFromHelmet(positionCm) + kHelmetCentreInDewarCm;
}

inline Vector3 headDirectionFromDewar(const Vector3& d) {
  const Vector3 helmet{kHalfSqrt2 * (d.x + d.y), kHalfSqrt2 * (d.y - d.x), d.z};
  return {kCosineOfLean * helmet.x + kSineOfLean * helmet.z, helmet.y,
          kCosineOfLean * helmet.z - kSineOfLean * helmet.x};
}

inline Vector3 headPositionFromDewar(const Vector3& positionCm) {
  return headDirectionFromDewar(positionCm - kHelmetCentreInDewarCm) + kHelmetCentreInHeadCm;
}

inline Vector3 dewarPositionFromHead(const Vector3& positionCm) {
  const Vector3 head = positionCm - kHelmetCentreInHeadCm;
  return dewarPositionFromHelmet(
      {kCosineOfLean * head.x - kSineOfLean * head.z, head.y, kSineOfLean * head.x + kCosineOfLean * head.z});
}

/// The head as a homogeneously conducting sphere, in the head frame.
inline constexpr Vector3 kConductorCentreCm{0.5, 0.0, 5.0};
inline constexpr double kConductorRadiusCm = 9.0;

}  // namespace ctfmeg::simulate
