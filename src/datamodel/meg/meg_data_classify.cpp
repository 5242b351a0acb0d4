#include "datamodel/meg/meg_data_classify.h"

int CMEGData6Classify::addTrialBadSegment(int trial, double startMs, double endMs) {
  m_badSegments.push_back({trial, startMs, endMs});
  return 1;
}
