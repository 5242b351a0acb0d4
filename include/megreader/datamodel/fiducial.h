#pragma once

#include <array>
#include <cstdint>

#include <megreader/framework/export.h>

/// One head-localisation coil or anatomical landmark.
struct FiducialPoint {
  double x = 0.0, y = 0.0, z = 0.0;  ///< millimetres, data model's axes
  std::int32_t valid = 0;            ///< 1 when the point was read
};

/// The fiducial points of a head in one frame.
class MEGREADER_API CFiducial {
 public:
  enum Slot : std::size_t { nasion, leftEar, rightEar, inion, cz };
  enum PositionKind : std::int32_t { standard = 0, measured = 1 };

  CFiducial() = default;
  CFiducial(const CFiducial&) = default;
  CFiducial& operator=(const CFiducial&) = default;
  virtual ~CFiducial();

  bool anyPointRead() const;

  std::array<FiducialPoint, 5> points{};  ///< by `Slot`
  std::int32_t numPoints = 0;
  std::int32_t positionKind = standard;
};

class MEGREADER_API CFiducialzk : public CFiducial {};
