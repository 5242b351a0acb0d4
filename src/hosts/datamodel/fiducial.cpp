#include <megreader/datamodel/fiducial.h>

#include <algorithm>

CFiducial::~CFiducial() = default;

bool CFiducial::anyPointRead() const {
  return std::any_of(points.begin(), points.end(),
                     [](const FiducialPoint& point) { return point.valid != 0; });
}
