#pragma once

#include "datamodel/markers/marker_manager.h"
#include "datamodel/meg/meg_data.h"

/// The layer that knows markers.
class MEGREADER_API CMEGData6Classify : public CMEGData {
 public:
  /// The markers (triggers) of the dataset; never null.
  CMarkerManagerzk* getTrigManager() { return &m_triggers; }
  const CMarkerManagerzk* getTrigManager() const { return &m_triggers; }

 private:
  CMarkerManagerzk m_triggers;
};
