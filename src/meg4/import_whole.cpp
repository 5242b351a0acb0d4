#include "meg4/sample_import.h"
#include "reader/ctf_dataset_reader.h"

int CCtfReader1Samples::readCtfDataT(const CString& path) {
  CMEGDatazk& data = *m_currentData;
  SampleImport import(path, sampleCounts(m_currentData), m_rules);
  const SampleCounts counts = import.counts();
  if (!import.open()) return 0;
  import.showProgress(L"Importing CTF MEG data T...", counts.trials);
  if (!import.prepare(data, {.unit = ImportUnit::trial, .samples = counts.samples},
                      import.countedTrialBytes(), kTooBig)) {
    data.openTrial(0);
    return 0;
  }
  import.forEachTrial([&](std::int32_t trial) {
    data.importCtfDataT(trial, counts.channels, counts.samples, import.samples());
  return true;
});
return 1;
}

int CCtfReader1Samples::readCtfDataC(const CString& path) {
  CMEGDatazk& data = *m_currentData;
  SampleImport import(path, sampleCounts(m_currentData), m_rules);
  const SampleCounts counts = import.counts();
  if (!import.open()) return 0;
  import.showProgress(L"Importing CTF MEG data ...", counts.channels);
  if (!import.prepare(data, {.unit = ImportUnit::channelBlock, .samples = counts.samples},
                      channelBlockBytes(counts), kTooBig)) {
    data.openTrial(0);
    return 0;
  }
  import.forEachChannelBlock([&](std::int32_t trial, std::int32_t channel) {
    data.importCtfDataC(trial, channel, counts.samples, import.samples());
});
return 1;
}
