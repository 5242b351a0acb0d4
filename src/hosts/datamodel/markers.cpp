#include <megreader/datamodel/markers.h>

#include <algorithm>
#include <numeric>

int CMarkerData::getTrgMrkTrial(int index) const {
  if (index < 0 || index >= getTotalTrgMrkPts()) return -1;
  return samples[static_cast<std::size_t>(index)].trial;
}

int CMarkerData::findTrial(int trial) const {
  return std::any_of(samples.begin(), samples.end(),
                     [trial](const MarkerSample& sample) { return sample.trial == trial; });
}

int CMarkerData::addClassifyTrial(int trial, int /*kind*/, std::int64_t /*first*/, std::int64_t /*last*/,
                                  double /*weight*/, double /*value*/) {
  samples.push_back({.trial = trial});
  return 1;
}

CMarkerDatazk* CMarkerManager::getMarker(int index, bool /*flag*/) const {
  if (index < 0 || index >= getTotalMarkzk()) return nullptr;
  return m_markers[static_cast<std::size_t>(index)].get();
}

CMarkerDatazk* CMarkerManager::findMarker(const CString& markerName) const {
  const auto found = std::find_if(m_markers.begin(), m_markers.end(),
                                  [&](const auto& marker) { return marker->name == markerName; });
  return found == m_markers.end() ? nullptr : found->get();
}

std::int64_t CMarkerManager::getTotalTrgMrkPts() const {
  return std::accumulate(
      m_markers.begin(), m_markers.end(), std::int64_t{0},
      [](std::int64_t sum, const auto& marker) { return sum + marker->getTotalTrgMrkPts(); });
}

int CMarkerManager::copyNewTrigType(const CMarkerDatazk* marker, bool /*flag*/) {
  if (marker == nullptr) return 0;
  addMarker(std::make_unique<CMarkerDatazk>(*marker));
  return 1;
}

int CMarkerManager::setAllBackup() {
  m_backup.clear();
  for (const auto& marker : m_markers)
    m_backup.push_back(*marker);
  return 1;
}

int CMarkerManager::restoreAllBackup() {
  m_markers.clear();
  for (const CMarkerDatazk& marker : m_backup)
    copyNewTrigType(&marker, false);
  return 1;
}
