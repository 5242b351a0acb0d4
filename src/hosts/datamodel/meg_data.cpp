#include <megreader/datamodel/meg_data.h>

#include "hosts/datamodel/trial_storage.h"

// Here, because the header does not know what holds the samples.
CMEGData::CMEGData() = default;
CMEGData::CMEGData(const CMEGData& other) = default;
CMEGData& CMEGData::operator=(const CMEGData& other) = default;
CMEGData::~CMEGData() = default;

const TrialStorage& CMEGData::storage() const {
  static const TrialStorage none;
  return m_trials ? *m_trials : none;
}

int CMEGData::openTrial(int trial) {
  if (trialSamples(trial) == nullptr && trialSums(trial) == nullptr) return 0;
  m_currentTrial = trial;
  return 1;
}

const std::int32_t* CMEGData::trialSamples(int trial) const { return storage().trial(trial); }
const double* CMEGData::trialSums(int trial) const { return storage().sums(trial); }
TrialOrigin CMEGData::trialOrigin(int trial) const { return storage().origin(trial); }
int CMEGData::trialSlots() const { return storage().numTrials(); }
int CMEGData::numStoredTrials() const { return storage().numStored(); }
int CMEGData::storedChannels() const { return storage().numChannels(); }
std::int64_t CMEGData::storedSamples() const { return storage().numSamples(); }

int CMEGData1Localization01Meg::setFidHeadMeasure2work() {
  m_work = m_headMeasured;
  return 1;
}

int CMEGData2Process::setChannelGood4Name(const CString& channelName, bool good, int /*number*/,
                                          bool /*flag*/) {
  if (!good) m_badChannelNames.push_back(channelName);
  const auto mark = [&](const CString ChannelInfo::*nameKind, ChannelIndex& index) {
    if (index.empty())
      for (std::size_t c = 0; c < m_channels.size(); ++c)
        index.emplace((m_channels[c].*nameKind).str(), c);
    const auto [first, last] = index.equal_range(channelName.str());
    for (auto named = first; named != last; ++named)
      m_channels[named->second].good = good;
    return first != last ? 1 : 0;
  };
  return mark(&ChannelInfo::name, m_byName) != 0 ? 1 : mark(&ChannelInfo::shortName, m_byShortName);
}

int CMEGData2Process::setEEG_electrodesPositionPohemus(int number, double x, double y, double z, int /*kind*/,
                                                       bool /*flag*/) {
  m_digitisedPoints.push_back({number, x, y, z});
  return 1;
}

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
