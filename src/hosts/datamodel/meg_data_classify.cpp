#include <megreader/datamodel/meg_data_classify.h>

int CMEGData6Classify::setTrig2Record() {
  auto& listed = m_recordInfo.triggers;
  listed.clear();
  for (int i = 0; i < m_triggers.getTotalMarkzk(); ++i) {
    const CMarkerDatazk& marker = *m_triggers.getMarker(i, false);
    listed.push_back({marker.name, marker.getTotalTrgMrkPts()});
  }
  return 1;
}

int CMEGData6Classify::addTrialBadSegment(int trial, double startMs, double endMs) {
  m_badSegments.push_back({trial, startMs, endMs});
  return 1;
}
