#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <megreader/datamodel/owned_list.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// One occurrence of a marker, or one trial of a class.
struct MarkerSample {
  std::int32_t trial = 0;   ///< number of the trial in the file, from 0
  double timeMs = 0.0;      ///< milliseconds from the trigger
  std::int64_t sample = 0;  ///< sample within the trial, from 0; outside it when the time is
};

/// A named event with the trials and times at which it occurs, or a named class of trials.
class MEGREADER_API CMarkerData {
 public:
  /// Number of occurrences.
  std::int64_t getTotalTrgMrkPts() const { return static_cast<std::int64_t>(samples.size()); }

  /// Trial number of occurrence `index` (from 0); -1 when there is no such occurrence.
  int getTrgMrkTrial(int index) const;

  /// Not 0 when the marker occurs in `trial`.
  int findTrial(int trial) const;

  /// Adds a trial to a class. Returns 1. The other arguments have no meaning.
  int addClassifyTrial(int trial, int kind, std::int64_t first, std::int64_t last, double weight,
                       double value);

  CString name;
  CString displayName;
  CString comment;
  std::uint32_t color = 0;  ///< 0x00BBGGRR; black when none is given
  bool colorKnown = false;  ///< the file names a colour that the reader knows
  bool editable = false;
  std::int32_t classId = 0;
  std::int32_t classGroupId = 0;
  std::int64_t numSamples = 0;        ///< as the file counts them; `samples` may hold fewer
  std::vector<MarkerSample> samples;  ///< in the order of the file
};

class MEGREADER_API CMarkerDatazk : public CMarkerData {};

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
