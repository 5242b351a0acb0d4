#include <megreader/datamodel/meg_data.h>

// Not in the header: what copies the samples stays inside the library.
CMEGData::CMEGData(const CMEGData& other) = default;
CMEGData& CMEGData::operator=(const CMEGData& other) = default;
CMEGData::~CMEGData() = default;

int CMEGData::openTrial(int trial) {
  if (trialSamples(trial) == nullptr && trialSums(trial) == nullptr) return 0;
  m_currentTrial = trial;
  return 1;
}

const std::int32_t* CMEGData::trialSamples(int trial) const { return m_trials.trial(trial); }
const double* CMEGData::trialSums(int trial) const { return m_trials.sums(trial); }
TrialOrigin CMEGData::trialOrigin(int trial) const { return m_trials.origin(trial); }
int CMEGData::trialSlots() const { return m_trials.numTrials(); }
int CMEGData::numStoredTrials() const { return m_trials.numStored(); }
int CMEGData::storedChannels() const { return m_trials.numChannels(); }
std::int64_t CMEGData::storedSamples() const { return m_trials.numSamples(); }
