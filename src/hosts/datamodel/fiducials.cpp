#include <megreader/datamodel/fiducials.h>

#include <algorithm>

#include "base/geometry.h"

int CCoordinateProcess::cvtCtf_D3Dzk(double& x, double& y, double& /*z*/) {
  ctfmeg::turnToDataModel(x, y);
  return 1;
}

CFiducial::~CFiducial() = default;

bool CFiducial::anyPointRead() const {
  return std::any_of(points.begin(), points.end(),
                     [](const FiducialPoint& point) { return point.valid != 0; });
}

std::optional<RigidTransform> headFrameOf(const CFiducial& set) {
  const auto at = [&](std::size_t index) {
    const FiducialPoint& point = set.points[index];
    return ctfmeg::Vector3{point.x, point.y, point.z};
  };
  for (const auto needed : {CFiducial::nasion, CFiducial::leftEar, CFiducial::rightEar})
    if (!set.points[needed].valid) return std::nullopt;
  return ctfmeg::headFrameOf(at(CFiducial::nasion), at(CFiducial::leftEar), at(CFiducial::rightEar));
}

int CHeadLocalization::initSensorFiducial2HeadCenter() {
  m_dewarToHead.reset();
  const auto measured = std::find_if(m_fiducials.begin(), m_fiducials.end(), [](const auto& set) {
    return set->positionKind == CFiducial::measured;
  });
  if (measured != m_fiducials.end()) m_dewarToHead = headFrameOf(**measured);
  return m_dewarToHead ? 1 : 0;
}
