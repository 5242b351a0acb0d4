#pragma once

#include <memory>
#include <vector>

#include <megreader/datamodel/marker.h>
#include <megreader/datamodel/owned_list.h>
#include <megreader/framework/export.h>

/// The markers, or the classes, of a data object, in the order in which they came. Owns them; copies are
/// deep.
class MEGREADER_API CMarkerManager {
 public:
  int getTotalMarkzk() const { return static_cast<int>(m_markers.size()); }

  /// Marker `index` (from 0), owned by the manager; null when there is none. The flag has no meaning.
  CMarkerDatazk* getMarker(int index, bool flag) const;

  /// The first marker of that name, owned by the manager; null when there is none.
  CMarkerDatazk* findMarker(const CString& markerName) const;

  /// Occurrences of all markers together.
  std::int64_t getTotalTrgMrkPts() const;

  /// Takes a marker over, after the others.
  void addMarker(std::unique_ptr<CMarkerDatazk> marker) { m_markers.push_back(std::move(marker)); }

  /// Appends a copy of the marker. Returns 1, or 0 for null. The flag has no meaning.
  int copyNewTrigType(const CMarkerDatazk* marker, bool flag);

  /// Keeps a copy of all markers as they are, in the place of an earlier one, so that what a host changes can
  /// be undone. Returns 1.
  int setAllBackup();
  /// Puts the copy in the place of all markers; none before the first `setAllBackup`. Returns 1.
  int restoreAllBackup();

 private:
  OwnedList<CMarkerDatazk> m_markers;
  std::vector<CMarkerDatazk> m_backup;
};

class MEGREADER_API CMarkerManagerzk : public CMarkerManager {};
