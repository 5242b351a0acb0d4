#include "datamodel/markers/marker_manager.h"

CMarkerDatazk* CMarkerManager::getMarker(int index, bool /*flag*/) const {
  if (index < 0 || index >= getTotalMarkzk()) return nullptr;
  return m_markers[static_cast<std::size_t>(index)].get();
}

int CMarkerManager::copyNewTrigType(const CMarkerDatazk* marker, bool /*flag*/) {
  if (marker == nullptr) return 0;
  m_markers.push_back(std::make_unique<CMarkerDatazk>(*marker));
  return 1;
}
