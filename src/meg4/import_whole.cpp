#include "framework/cprogresszk.h"
#include "framework/user_interface.h"
#include "meg4/import_loops.h"
#include "meg4/sample_files.h"
#include "reader/ctf_dataset_reader.h"
#include "util/byte_order.h"

namespace {

int failWithoutBuffer(CMEGDatazk& data, std::unique_ptr<SampleFiles>& files) {
  reportFinding({.code = "memory", .file = {}, .text = L"there is not enough memory for the samples"});
  AfxMessageBox(L"Allocate Memeory error! Is dataset too big?!");
  files.reset();
  data.openTrial(0);
  return 0;
}

}  // namespace

int CCtfReader1Samples::readCtfDataT(const CString& path) {
  const SampleCounts counts = sampleCounts(m_currentData);
  auto files = openSampleFiles(getFilePathBasic(path), counts, m_rules);
  if (!files) return 0;
  CProgresszk progress;
  progress.showProgress(L"Importing CTF MEG data T...");
  progress.setRange(0, counts.trials);
  const bool allocated = files->allocate(trialBytes(counts, m_rules));
  const ImportScope import(*m_currentData, {ImportUnit::trial, counts.trials, counts.channels, counts.samples,
                                            files->unitValues()});
  if (!allocated || !import.ready()) return failWithoutBuffer(*m_currentData, files);

  readTrials(*files, progress, [&](std::int32_t trial) {
    samplesToHostOrder(files->unit());
    m_currentData->importCtfDataT(trial, counts.channels, counts.samples, files->unit().data());
  });
  return 1;
}

int CCtfReader1Samples::readCtfDataC(const CString& path) {
  const SampleCounts counts = sampleCounts(m_currentData);
  auto files = openSampleFiles(getFilePathBasic(path), counts, m_rules);
  if (!files) return 0;
  CProgresszk progress;
  progress.showProgress(L"Importing CTF MEG data ...");
  progress.setRange(0, counts.channels);
  const bool allocated = files->allocate(static_cast<std::uint64_t>(counts.samples) * sizeof(std::int32_t));
  const ImportScope import(*m_currentData, {ImportUnit::channelBlock, counts.trials, counts.channels,
                                            counts.samples, files->unitValues()});
  if (!allocated || !import.ready()) return failWithoutBuffer(*m_currentData, files);

  readChannelBlocks(*files, counts.channels, progress, [&](std::int32_t trial, std::int32_t channel) {
    samplesToHostOrder(files->unit());
    m_currentData->importCtfDataC(trial, channel, counts.samples, files->unit().data());
  });
  return 1;
}
