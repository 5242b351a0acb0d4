#pragma once

#include <cstdint>
#include <vector>

#include <megreader/datamodel/marker_manager.h>
#include <megreader/datamodel/meg_data_process.h>
#include <megreader/datamodel/virtual_channel.h>

/// A span of a trial that is not to be used.
struct BadSegment {
  std::int32_t trial = 0;  ///< number of the trial in the file, as given
  double startMs = 0.0;    ///< milliseconds from the trial's start
  double endMs = 0.0;
};

/// The layer that knows markers, classes of trials and bad segments.
class MEGREADER_API CMEGData6Classify : public CMEGData2Process {
 public:
  /// The markers (triggers) of the dataset; never null.
  CMarkerManagerzk* getTrigManager() { return &m_triggers; }
  const CMarkerManagerzk* getTrigManager() const { return &m_triggers; }

  /// The classes of trials; never null.
  CMarkerManagerzk* getClassManager() { return &m_classes; }
  const CMarkerManagerzk* getClassManager() const { return &m_classes; }

  /// Lists the trigger manager's markers in the record information, in the place of an earlier list.
  /// Returns 1.
  int setTrig2Record();

  /// Times in milliseconds from the trial's start. Returns 1.
  int addTrialBadSegment(int trial, double startMs, double endMs);
  const std::vector<BadSegment>& badSegments() const { return m_badSegments; }

  std::vector<VirtualChannel> virtualChannels;  ///< in file order; empty by host rules

 private:
  CMarkerManagerzk m_triggers;
  CMarkerManagerzk m_classes;
  std::vector<BadSegment> m_badSegments;
};
