#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "base/byte_order.h"
#include "hosts/reader/ctf_dataset_reader.h"
#include "hosts/reader/sample_import.h"

#include <megreader/framework/user_interface.h>

// Importers of every trial: as they are, or each of them reduced or cut, which corrects the record
// information.

namespace {

/// Writes a new trial length into the record information.
void setSamplesPerTrial(CMEGDatazk& data, std::int64_t samples) {
  CMEGRecordInfozkProzk& info = *data.getMEGRecordInfozk();
  info.samplesPerTrial = info.samplesPerTrialAcq = static_cast<std::int32_t>(samples);
}

}  // namespace

int CCtfReader1Samples::readCtfDataT(const CString& path) {
  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const ctfmeg::SampleCounts counts = reading.counts();
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
  const ctfmeg::SampleCounts counts = reading.counts();
  if (!reading.open()) return 0;
  reading.showProgress(L"Importing CTF MEG data ...", counts.channels);
  if (!reading.prepare(*data, {.unit = ImportUnit::channelBlock, .samples = counts.samples},
                       counts.blockBytes(), kTooBig)) {
    data->openTrial(0);
    return 0;
  }
  reading.forEachChannelBlock([&](std::int32_t trial, std::int32_t channel) {
    data->importCtfDataC(trial, channel, counts.samples, reading.samples());
  });
  return 1;
}

int CCtfReader1Samples::readCtfDataResample(const CString& path, int factor) {
  if (factor <= 1) return readCtfDataT(path);
  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const ctfmeg::SampleCounts counts = reading.counts();
  if (!reading.open()) return 0;
  reading.showProgress(L"Importing MEG data re-sampling ...", counts.channels);
  const std::int64_t step = std::min<std::int64_t>(factor, counts.samples);
  const std::int64_t length = counts.samples / step;
  const ImportPlan plan{
      .unit = ImportUnit::decimatedBlock, .samples = length, .unitValues = length, .step = step};
  if (!reading.prepare(*data, plan, counts.blockBytes(), nullptr)) return 0;
  const std::size_t kept = reading.unit().size() / static_cast<std::size_t>(step);
  const std::unique_ptr<std::int32_t[]> block(new (std::nothrow) std::int32_t[kept]);
  if (!block) return reading.failWithoutMemory(nullptr);

  reading.forEachChannelBlock([&](std::int32_t trial, std::int32_t /*channel*/) {
    const auto values = reading.unit();
    for (std::size_t j = 0; j < kept; ++j)
      block[j] = values[j * static_cast<std::size_t>(step)];
    ctfmeg::samplesToHostOrder({block.get(), kept});
    // Hosts rely on these arguments: the channel count in the place of the channel's number, the block's byte
    // size.
    data->importCtfDataT(trial, counts.channels, length * std::int64_t{sizeof(std::int32_t)}, block.get());
  });
  setSamplesPerTrial(*data, length);
  CMEGRecordInfozkProzk& info = *data->getMEGRecordInfozk();
  info.sampleRate /= static_cast<double>(step);
  info.sampleRateAcq /= static_cast<double>(step);
  return 1;
}

int CCtfReader1Samples::readCtfDataSelected(const CString& path, std::int64_t first, std::int64_t last) {
  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const ctfmeg::SampleCounts counts = reading.counts();
  first = std::max<std::int64_t>(first, 0);
  last = std::min(last, counts.samples - 1);
  const std::int64_t count = last < first ? 0 : last - first + 1;
  if (counts.valid() && (count < 1 || count >= counts.samples)) {
    CString text;
    text.Format(count < 1 ? L"has no samples in that span: a trial has samples 0 to %d"
                          : L"is not cut down by that span: it is a whole trial, samples 0 to %d",
                counts.samples - 1);
    reportFinding({.code = ctfmeg::wordOf(ctfmeg::Code::routeRefused), .file = path, .text = text});
    return 0;
  }
  if (!reading.open(AvailableBytes::narrow)) return 0;
  reading.showProgress(L"Importing MEG selected data ...", counts.channels);
  const ImportPlan plan{
      .unit = ImportUnit::channelBlock, .samples = count, .unitValues = count, .firstSample = first};
  if (!reading.prepare(*data, plan, counts.blockBytes(), nullptr)) return 0;

  reading.forEachChannelBlock([&](std::int32_t trial, std::int32_t channel) {
    const auto span =
        reading.unit().subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(count));
    ctfmeg::samplesToHostOrder(span);
    data->importCtfDataC(trial, channel, count, span.data());
  });
  setSamplesPerTrial(*data, count);
  return 1;
}

int CCtfReader1Samples::readCtfDataTsplit(const CString& path, int parts) {
  // Differs from the other importers' text in one word: hosts look for either.
  constexpr const wchar_t* kTooBigToSplit = L"Allocate memeory error! Is dataset too big?!";

  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const ctfmeg::SampleCounts counts = reading.counts();
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
  if (!reading.prepare(*data, plan, counts.trialBytes(), kTooBigToSplit)) return 0;

  reading.forEachTrial([&](std::int32_t trial) {
    data->importCtfDataTsplit(trial, plan.parts, counts.channels, counts.samples, pieceLength,
                              reading.samples());
    return true;
  });
  setSamplesPerTrial(*data, pieceLength);
  data->getMEGRecordInfozk()->numTrialsDone = static_cast<std::int32_t>(pieces * counts.trials);
  return 1;
}
