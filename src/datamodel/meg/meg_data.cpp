#include "datamodel/meg/meg_data.h"

#include <algorithm>

#include "datamodel/meg/sample_count.h"

CMEGData::~CMEGData() = default;
CMEGDatazk::~CMEGDatazk() = default;

int CMEGData::openTrial(int trial) {
  if (trialSamples(trial) == nullptr) return 0;
  m_currentTrial = trial;
  return 1;
}

const std::int32_t* CMEGData::trialSamples(int trial) const { return m_trials.trial(trial); }
TrialOrigin CMEGData::trialOrigin(int trial) const { return m_trials.origin(trial); }
int CMEGData::trialSlots() const { return m_trials.numTrials(); }
int CMEGData::numStoredTrials() const { return m_trials.numStored(); }
int CMEGData::storedChannels() const { return m_trials.numChannels(); }
std::int64_t CMEGData::storedSamples() const { return m_trials.numSamples(); }

int CMEGData9FileA01CtfMISL::importTrialChannels(int trials, int channels, const CPtrArray* sensors,
                                                 const CPtrArray* electrodes, const CStringArray* names,
                                                 const CStringArray* shortNames, CDocument* /*document*/) {
  if (sensors == nullptr || electrodes == nullptr || names == nullptr || shortNames == nullptr) return 0;
  if (channels < 1 || trials < 0) return 0;
  if (std::min({sensors->GetSize(), names->GetSize(), shortNames->GetSize()}) < channels) return 0;
  if (countProduct({trials, channels, m_recordInfo.samplesPerTrial, std::int64_t{sizeof(std::int32_t)}}) ==
      kCountOverflow)
    return 0;

  std::vector<ChannelInfo> imported;
  imported.reserve(static_cast<std::size_t>(channels));
  for (int c = 0; c < channels; ++c) {
    const auto* sensor = static_cast<const CMEGSensorzk*>(sensors->GetAt(c));
    if (sensor == nullptr) return 0;
    imported.push_back({names->GetAt(c), shortNames->GetAt(c), *sensor});
  }
  std::vector<CEEGelectrodezk> importedElectrodes;
  for (int e = 0; e < electrodes->GetSize(); ++e)
    if (const auto* electrode = static_cast<const CEEGelectrodezk*>(electrodes->GetAt(e)))
      importedElectrodes.push_back(*electrode);

  m_channels = std::move(imported);
  m_electrodes = std::move(importedElectrodes);
  return 1;
}

int CMEGData9FileA01CtfMISL::importCtfDataT(int trial, int channels, std::int64_t samples,
                                            const std::int32_t* data) {
  trace("importCtfDataT", trial, channels, samples);
  if (!importing(ImportUnit::trial)) return 0;
  return m_trials.store(trial, 0, data, m_import->unitValues, {trial, 0, 1}) ? 1 : 0;
}

int CMEGData9FileA01CtfMISL::importCtfDataC(int trial, int channel, std::int64_t samples,
                                            const std::int32_t* data) {
  trace("importCtfDataC", trial, channel, samples);
  if (!importing(ImportUnit::channelBlock)) return 0;
  const std::int64_t count = std::min(m_import->unitValues, m_import->samples);
  return m_trials.store(trial, channel, data, count, {trial, 0, 1}) ? 1 : 0;
}

bool CMEGData9FileA01CtfMISL::openImport(const ImportPlan& plan) {
  m_currentTrial = -1;
  if (!m_trials.reserve(plan.trials, plan.channels, plan.samples)) return false;
  m_import = plan;
  return true;
}

void CMEGData9FileA01CtfMISL::trace(const char* call, std::int64_t first, std::int64_t second,
                                    std::int64_t third) const {
  if (m_trace == nullptr) return;
  m_trace->calls.push_back(std::string(call) + "(" + std::to_string(first) + ", " + std::to_string(second) +
                           ", " + std::to_string(third) + ")");
}

ImportScope::ImportScope(CMEGDatazk& data, const ImportPlan& plan)
    : m_data(data), m_ready(data.openImport(plan)) {}

ImportScope::~ImportScope() { m_data.closeImport(); }
