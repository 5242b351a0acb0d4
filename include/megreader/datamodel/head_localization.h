#pragma once

#include <array>
#include <optional>

#include <megreader/datamodel/fiducial.h>
#include <megreader/datamodel/owned_list.h>
#include <megreader/framework/export.h>

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
