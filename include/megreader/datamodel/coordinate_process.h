#pragma once

#include <megreader/framework/export.h>

/// Axes. CTF head axes: x to the nose, y to the left ear, z up. CTF dewar axes: z up, x and y at 45 degrees
/// either side of the nose. The data model's axes: x to the right, y to the front, z up (head).
class MEGREADER_API CCoordinateProcess {
 public:
  /// Turns a CTF vector into the data model's axes in place: (x, y, z) -> (-y, x, z). Returns 1.
  static int cvtCtf_D3Dzk(double& x, double& y, double& z);
};

class MEGREADER_API CCoordinateProcesszk : public CCoordinateProcess {};
