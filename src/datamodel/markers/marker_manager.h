#pragma once

#include <memory>
#include <vector>

#include "datamodel/markers/marker.h"
#include "framework/export.h"

/// The markers of a data object, in the order in which they came. Owns them.
class MEGREADER_API CMarkerManager {
 public:
  int getTotalMarkzk() const { return static_cast<int>(m_markers.size()); }

  /// Marker `index` (from 0), owned by the manager; null when there is none. The flag has no meaning.
  CMarkerDatazk* getMarker(int index, bool flag) const;

  /// Appends a copy of the marker. Returns 1, or 0 for null. The flag has no meaning.
  int copyNewTrigType(const CMarkerDatazk* marker, bool flag);

 private:
  std::vector<std::unique_ptr<CMarkerDatazk>> m_markers;
};

class MEGREADER_API CMarkerManagerzk : public CMarkerManager {};
