#include <algorithm>
#include <cmath>
#include <limits>

#include "meg4/sample_import.h"
#include "hosts/reader/ctf_dataset_reader.h"

int CCtfReader1Samples::readCtfDataTsplit(const CString& path, int parts) {
  // Differs from the other importers' text in one word: hosts look for either.
  constexpr const wchar_t* kTooBigToSplit = L"Allocate memeory error! Is dataset too big?!";

  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const SampleCounts counts = reading.counts();
  const std::int64_t pieces = std::clamp<std::int64_t>(parts, 1, std::max<std::int64_t>(counts.samples, 1));
  const auto pieceLength = static_cast<std::int64_t>(
      std::floor(static_cast<double>(counts.samples) / static_cast<double>(pieces)));
  if (!reading.open()) return 0;
  // The range is the channels although the position is the trial: hosts scale their windows to it.
  reading.showProgress(L"Importing and spliting trials  ...", counts.channels);
  const std::int64_t trials = pieces * reading.trials();
  if (trials > std::numeric_limits<std::int32_t>::max()) return reading.failWithoutMemory(kTooBigToSplit);
  const ImportPlan plan{.unit = ImportUnit::splitTrial,
                        .trials = static_cast<std::int32_t>(trials),
                        .samples = pieceLength,
                        .parts = static_cast<std::int32_t>(pieces)};
  if (!reading.prepare(*data, plan, trialBytes(counts), kTooBigToSplit)) return 0;

  reading.forEachTrial([&](std::int32_t trial) {
    data->importCtfDataTsplit(trial, plan.parts, counts.channels, counts.samples, pieceLength,
                              reading.samples());
    return true;
  });
  CMEGRecordInfozkProzk& info = *data->getMEGRecordInfozk();
  info.samplesPerTrial = info.samplesPerTrialAcq = static_cast<std::int32_t>(pieceLength);
  info.numTrialsDone = static_cast<std::int32_t>(pieces * counts.trials);
  return 1;
}
