#include "meg4/sample_import.h"
#include "hosts/reader/ctf_dataset_reader.h"

int CCtfReader1Samples::readCtfDataT(const CString& path) {
  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const SampleCounts counts = reading.counts();
  if (!reading.open()) return 0;
  reading.showProgress(L"Importing CTF MEG data T...", counts.trials);
  if (!reading.prepareInPlace(*data, {.unit = ImportUnit::trial, .samples = counts.samples},
                              reading.countedTrialBytes(), kTooBig)) {
    data->openTrial(0);
    return 0;
  }
  reading.forEachTrial([&](std::int32_t trial) {
    data->importCtfDataT(trial, counts.channels, counts.samples, reading.samples());
    return true;
  });
  return 1;
}

int CCtfReader1Samples::readCtfDataC(const CString& path) {
  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const SampleCounts counts = reading.counts();
  if (!reading.open()) return 0;
  reading.showProgress(L"Importing CTF MEG data ...", counts.channels);
  if (!reading.prepare(*data, {.unit = ImportUnit::channelBlock, .samples = counts.samples},
                       channelBlockBytes(counts), kTooBig)) {
    data->openTrial(0);
    return 0;
  }
  reading.forEachChannelBlock([&](std::int32_t trial, std::int32_t channel) {
    data->importCtfDataC(trial, channel, counts.samples, reading.samples());
  });
  return 1;
}
