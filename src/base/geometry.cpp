#include "base/geometry.h"

#include <cmath>

namespace ctfmeg {
namespace {

Vector3 minus(const Vector3& a, const Vector3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

Vector3 midway(const Vector3& a, const Vector3& b) {
  return {(a[0] + b[0]) / 2, (a[1] + b[1]) / 2, (a[2] + b[2]) / 2};
}

double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector3 cross(const Vector3& a, const Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// Points closer than this define no direction.
constexpr double kNoLengthMm = 1e-6;

std::optional<Vector3> unit(const Vector3& v) {
  const double length = std::hypot(v[0], v[1], v[2]);
  if (!(length > kNoLengthMm) || !std::isfinite(length)) return std::nullopt;
  return Vector3{v[0] / length, v[1] / length, v[2] / length};
}

}  // namespace

std::optional<RigidTransform> headFrameOf(const Vector3& nasion, const Vector3& leftEar,
                                          const Vector3& rightEar) {
  const Vector3 origin = midway(leftEar, rightEar);
  const auto front = unit(minus(nasion, origin));
  if (!front) return std::nullopt;
  const auto up = unit(cross(minus(rightEar, leftEar), *front));
  if (!up) return std::nullopt;
  const Vector3 toRight = cross(*front, *up);
  RigidTransform transform{};
  const Vector3 axes[] = {toRight, *front, *up};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column)
      transform[row][column] = axes[row][column];
    transform[row][3] = 0.0 - dot(axes[row], origin);
  }
  transform[3][3] = 1.0;
  return transform;
}

}  // namespace ctfmeg
