#include <algorithm>
#include <new>

#include <megreader/framework/user_interface.h>
#include "meg4/sample_import.h"
#include "hosts/reader/ctf_dataset_reader.h"
#include "util/byte_order.h"

// Importers that keep part of every channel block and then correct the record information.

int CCtfReader1Samples::readCtfDataResample(const CString& path, int factor) {
  if (factor <= 1) return readCtfDataT(path);
  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const SampleCounts counts = reading.counts();
  if (!reading.open()) return 0;
  reading.showProgress(L"Importing MEG data re-sampling ...", counts.channels);
  const std::int64_t step = std::min<std::int64_t>(factor, counts.samples);
  const std::int64_t length = counts.samples / step;
  const ImportPlan plan{
      .unit = ImportUnit::decimatedBlock, .samples = length, .unitValues = length, .step = step};
  if (!reading.prepare(*data, plan, channelBlockBytes(counts), nullptr)) return 0;
  const std::size_t kept = reading.unit().size() / static_cast<std::size_t>(step);
  const std::unique_ptr<std::int32_t[]> block(new (std::nothrow) std::int32_t[kept]);
  if (!block) return reading.failWithoutMemory(nullptr);

  reading.forEachChannelBlock([&](std::int32_t trial, std::int32_t /*channel*/) {
    const auto values = reading.unit();
    for (std::size_t j = 0; j < kept; ++j)
      block[j] = values[j * static_cast<std::size_t>(step)];
    samplesToHostOrder({block.get(), kept});
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
  const SampleCounts counts = reading.counts();
  first = std::max<std::int64_t>(first, 0);
  last = std::min(last, counts.samples - 1);
  const std::int64_t count = last < first ? 0 : last - first + 1;
  if (counts.valid() && (count < 1 || count >= counts.samples)) {
    CString text;
    text.Format(count < 1 ? L"has no samples in that span: a trial has samples 0 to %d"
                          : L"is not cut down by that span: it is a whole trial, samples 0 to %d",
                counts.samples - 1);
    reportFinding({.code = "route.refused", .file = path, .text = text});
    return 0;
  }
  if (!reading.open(AvailableBytes::narrow)) return 0;
  reading.showProgress(L"Importing MEG selected data ...", counts.channels);
  const ImportPlan plan{
      .unit = ImportUnit::channelBlock, .samples = count, .unitValues = count, .firstSample = first};
  if (!reading.prepare(*data, plan, channelBlockBytes(counts), nullptr)) return 0;

  reading.forEachChannelBlock([&](std::int32_t trial, std::int32_t channel) {
    const auto span =
        reading.unit().subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(count));
    samplesToHostOrder(span);
    data->importCtfDataC(trial, channel, count, span.data());
  });
  setSamplesPerTrial(*data, count);
  return 1;
}
