#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include <megreader/datamodel/owned_list.h>
#include <megreader/framework/export.h>

/// Axes. CTF head axes: x to the nose, y to the left ear, z up. CTF dewar axes: z up, x and y at 45 degrees
/// either side of the nose. The data model's axes: x to the right, y to the front, z up (head).
class MEGREADER_API CCoordinateProcess {
 public:
  /// Turns a CTF vector into the data model's axes in place: (x, y, z) -> (-y, x, z). Returns 1.
  static int cvtCtf_D3Dzk(double& x, double& y, double& z);
};

class MEGREADER_API CCoordinateProcesszk : public CCoordinateProcess {};

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

/// A rigid transform as the upper rows of a homogeneous matrix and its last row (0, 0, 0, 1): p' = M p for a
/// position p = (x, y, z, 1) in millimetres.
using RigidTransform = std::array<std::array<double, 4>, 4>;

/// From the frame in which nasion and ears are given to the head frame that they define: origin midway
/// between the ears, y axis through the nasion, z axis up and perpendicular to the plane of the three points,
/// x axis to the right. (The CTF head frame, in the data model's axes.) Nothing when one of the three was not
/// read or when they lie on a line.
MEGREADER_API std::optional<RigidTransform> headFrameOf(const CFiducial& set);

/// Where the head lies in the dewar. Copies are deep.
class MEGREADER_API CHeadLocalization {
 public:
  using FiducialList = OwnedList<CFiducialzk>;

  FiducialList& fiducials() { return m_fiducials; }
  const FiducialList& fiducials() const { return m_fiducials; }

  /// Computes the transform from the dewar to the head from the first measured set of the list. Returns 1, or
  /// 0 with no transform when there is none or it defines no frame.
  int initSensorFiducial2HeadCenter();

  const std::optional<RigidTransform>& dewarToHead() const { return m_dewarToHead; }

 private:
  FiducialList m_fiducials;
  std::optional<RigidTransform> m_dewarToHead;
};

class MEGREADER_API CHeadLocalizationzk : public CHeadLocalization {};
