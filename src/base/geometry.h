#pragma once

#include <array>
#include <optional>

namespace ctfmeg {

/// A position or direction.
using Vector3 = std::array<double, 3>;

/// A rigid transform as a homogeneous matrix whose last row is (0, 0, 0, 1): p' = M p for p = (x, y, z, 1).
using RigidTransform = std::array<std::array<double, 4>, 4>;

/// CTF axes to the data model's: (x, y, z) -> (-y, x, z). CTF head axes are x to the nose, y left, z up; the
/// dewar's z is up, x and y are at 45 degrees either side of the nose. The data model's are x right, y front,
/// z up for the head.
constexpr void turnToDataModel(double& x, double& y) {
  const double front = x;
  x = 0.0 - y;  // not -y: a coordinate of 0 stays +0
  y = front;
}

/// From the frame in which nasion and ears are given to the head frame that they define: origin midway
/// between the ears, y axis through the nasion, z axis up and perpendicular to the plane of the three points,
/// x axis to the right. (The CTF head frame, in the data model's axes.) In the unit of the points,
/// millimetres. Nothing when they are on a line.
std::optional<RigidTransform> headFrameOf(const Vector3& nasion, const Vector3& leftEar,
                                          const Vector3& rightEar);

}  // namespace ctfmeg
