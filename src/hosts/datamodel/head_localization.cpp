#include <megreader/datamodel/head_localization.h>

#include <algorithm>
#include <cmath>

namespace {

using Vector = std::array<double, 3>;

Vector vectorOf(const FiducialPoint& point) { return {point.x, point.y, point.z}; }

Vector minus(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

Vector midway(const Vector& a, const Vector& b) {
  return {(a[0] + b[0]) / 2, (a[1] + b[1]) / 2, (a[2] + b[2]) / 2};
}

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// Points closer than this define no direction.
constexpr double kNoLengthMm = 1e-6;

std::optional<Vector> unit(const Vector& v) {
  const double length = std::hypot(v[0], v[1], v[2]);
  if (!(length > kNoLengthMm) || !std::isfinite(length)) return std::nullopt;
  return Vector{v[0] / length, v[1] / length, v[2] / length};
}

}  // namespace

std::optional<RigidTransform> headFrameOf(const CFiducial& set) {
  const auto& points = set.points;
  if (!points[CFiducial::nasion].valid || !points[CFiducial::leftEar].valid ||
      !points[CFiducial::rightEar].valid)
    return std::nullopt;
  const Vector left = vectorOf(points[CFiducial::leftEar]);
  const Vector right = vectorOf(points[CFiducial::rightEar]);
  const Vector origin = midway(left, right);
  const auto front = unit(minus(vectorOf(points[CFiducial::nasion]), origin));
  if (!front) return std::nullopt;
  const auto up = unit(cross(minus(right, left), *front));
  if (!up) return std::nullopt;
  const Vector toRight = cross(*front, *up);
  RigidTransform transform{};
  const Vector axes[] = {toRight, *front, *up};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column)
      transform[row][column] = axes[row][column];
    transform[row][3] = 0.0 - dot(axes[row], origin);
  }
  transform[3][3] = 1.0;
  return transform;
}

int CHeadLocalization::initSensorFiducial2HeadCenter() {
  m_dewarToHead.reset();
  const auto measured = std::find_if(m_fiducials.begin(), m_fiducials.end(), [](const auto& set) {
    return set->positionKind == CFiducial::measured;
  });
  if (measured != m_fiducials.end()) m_dewarToHead = headFrameOf(**measured);
  return m_dewarToHead ? 1 : 0;
}
