#include <megreader/datamodel/meg_datazk.h>

#include <algorithm>
#include <new>
#include <string>

#include "base/counts.h"
#include "hosts/datamodel/trial_storage.h"

#include <megreader/datamodel/imports.h>

ImportScope::ImportScope(CMEGData9FileA00Basic& data, const ImportPlan& plan)
    : m_data(data), m_ready(data.openImport(plan)) {}

ImportScope::~ImportScope() { m_data.m_import.reset(); }

std::span<std::int32_t> ImportScope::room(std::int32_t first, std::int32_t count) {
  return m_data.m_trials ? m_data.m_trials->room(first, count) : std::span<std::int32_t>();
}

void ImportScope::setFileTrial(std::int32_t trial) { m_data.m_fileTrial = trial; }

CMEGData9FileA00Basic::CMEGData9FileA00Basic(const CMEGData9FileA00Basic& other) : CMEGData6Classify(other) {}

CMEGData9FileA00Basic& CMEGData9FileA00Basic::operator=(const CMEGData9FileA00Basic& other) {
  if (this == &other) return *this;
  m_import.reset();
  CMEGData6Classify::operator=(other);
  return *this;
}

bool CMEGData9FileA00Basic::openImport(const ImportPlan& plan) {
  m_currentTrial = -1;
  m_blockTrial = -1;
  m_fileTrial = 0;
  m_import.reset();
  if (!m_trials) m_trials.reset(new (std::nothrow) TrialStorage);
  if (!m_trials || !m_trials->reserve(plan)) return false;
  m_import = plan;
  return true;
}

int CMEGData9FileA00Basic::setTrialDataF(int trial, int channels, std::int64_t samples, const double* data) {
  trace("setTrialDataF", {trial, channels, samples});
  if (!importing(ImportUnit::summedTrial)) return 0;
  return m_trials->storeSums(trial, data, m_import->unitValues) ? 1 : 0;
}

void CMEGData9FileA00Basic::trace(const char* call, std::initializer_list<std::int64_t> arguments) const {
  if (m_trace == nullptr) return;
  std::string line = std::string(call) + "(";
  for (const std::int64_t argument : arguments)
    line += (line.back() == '(' ? "" : ", ") + std::to_string(argument);
  m_trace->calls.push_back(line + ")");
}

int CMEGData9FileA01CtfMISL::importTrialChannels(int trials, int channels, const CPtrArray* sensors,
                                                 const CPtrArray* electrodes, const CStringArray* names,
                                                 const CStringArray* shortNames, CDocument* /*document*/) {
  trace("importTrialChannels", {trials, channels});
  if (sensors == nullptr || electrodes == nullptr || names == nullptr || shortNames == nullptr) return 0;
  if (channels < 1 || trials < 0) return 0;
  if (std::min({sensors->GetSize(), names->GetSize(), shortNames->GetSize()}) < channels) return 0;
  if (ctfmeg::countProduct({trials, channels, m_recordInfo.samplesPerTrial,
                            std::int64_t{sizeof(std::int32_t)}}) == ctfmeg::kCountOverflow)
    return 0;

  std::vector<ChannelInfo> imported;
  imported.reserve(static_cast<std::size_t>(channels));
  for (int c = 0; c < channels; ++c) {
    const auto* sensor = static_cast<const CMEGSensorzk*>(sensors->GetAt(c));
    if (sensor == nullptr) return 0;
    imported.push_back({names->GetAt(c), shortNames->GetAt(c), *sensor, true});
  }
  std::vector<CEEGelectrodezk> importedElectrodes;
  for (int e = 0; e < electrodes->GetSize(); ++e)
    if (const auto* electrode = static_cast<const CEEGelectrodezk*>(electrodes->GetAt(e)))
      importedElectrodes.push_back(*electrode);

  m_channels = std::move(imported);
  m_byName.clear();
  m_byShortName.clear();
  m_electrodes = std::move(importedElectrodes);
  return 1;
}

int CMEGData9FileA01CtfMISL::importCtfDataT(int trial, int channels, std::int64_t samples,
                                            const std::int32_t* data) {
  trace("importCtfDataT", {trial, channels, samples});
  if (importing(ImportUnit::decimatedBlock)) return storeNextBlock(trial, data);
  if (!importing(ImportUnit::trial)) return 0;
  return m_trials->store(trial, 0, data, m_import->unitValues, m_fileTrial) ? 1 : 0;
}

int CMEGData9FileA01CtfMISL::storeNextBlock(int trial, const std::int32_t* data) {
  if (trial != m_blockTrial) m_nextChannel = 0;
  m_blockTrial = trial;
  const std::int64_t count = std::min(m_import->unitValues, m_import->samples);
  return m_trials->store(trial, m_nextChannel++, data, count, m_fileTrial) ? 1 : 0;
}

int CMEGData9FileA01CtfMISL::importCtfDataC(int trial, int channel, std::int64_t samples,
                                            const std::int32_t* data) {
  trace("importCtfDataC", {trial, channel, samples});
  if (!importing(ImportUnit::channelBlock)) return 0;
  const std::int64_t count = std::min(m_import->unitValues, m_import->samples);
  return m_trials->store(trial, channel, data, count, m_fileTrial) ? 1 : 0;
}

int CMEGData9FileA01CtfMISL::importCtfDataTsplit(int trial, int parts, int channels, std::int64_t samples,
                                                 std::int64_t pieceLength, const std::int32_t* data) {
  trace("importCtfDataTsplit", {trial, parts, channels, samples, pieceLength});
  if (!importing(ImportUnit::splitTrial) || data == nullptr) return 0;
  const ImportPlan& plan = *m_import;
  if (trial < 0 || trial >= m_trials->numTrials() / plan.parts) return 0;
  const std::int64_t channelValues = plan.unitValues / plan.channels;
  const std::int64_t pieces = std::min<std::int64_t>(plan.parts, channelValues / plan.samples);
  for (std::int32_t piece = 0; piece < pieces; ++piece)
    for (std::int32_t channel = 0; channel < plan.channels; ++channel)
      m_trials->store(trial * plan.parts + piece, channel,
                      data + channel * channelValues + piece * plan.samples, plan.samples, m_fileTrial);
  return 1;
}

CMEGDatazk::~CMEGDatazk() = default;
