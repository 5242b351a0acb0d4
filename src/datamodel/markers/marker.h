#pragma once

#include <cstdint>
#include <vector>

#include "framework/cstring.h"
#include "framework/export.h"

/// One occurrence of a marker.
struct MarkerSample {
  std::int32_t trial = 0;   ///< number of the trial in the file, from 0
  double timeMs = 0.0;      ///< milliseconds from the trigger
  std::int64_t sample = 0;  ///< sample within the trial, from 0
};

/// A named event with the trials and times at which it occurs.
class MEGREADER_API CMarkerData {
 public:
  /// Number of occurrences.
  std::int64_t getTotalTrgMrkPts() const { return static_cast<std::int64_t>(samples.size()); }

  /// Trial number of occurrence `index` (from 0); -1 when there is no such occurrence.
  int getTrgMrkTrial(int index) const;

  /// Not 0 when the marker occurs in `trial`.
  int findTrial(int trial) const;

  CString name;
  std::vector<MarkerSample> samples;  ///< in the order of the file
};

class MEGREADER_API CMarkerDatazk : public CMarkerData {};
