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
