#include <megreader/datamodel/marker.h>

#include <algorithm>

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
