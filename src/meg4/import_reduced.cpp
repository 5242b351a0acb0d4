#include <algorithm>
#include <new>

#include "framework/user_interface.h"
#include "meg4/sample_import.h"
#include "reader/ctf_dataset_reader.h"
#include "util/byte_order.h"

// Importers that keep part of every channel block and then correct the record information.

namespace {

void setSamplesPerTrial(CMEGDatazk& data, std::int64_t samples) {
  CMEGRecordInfozkProzk& info = *data.getMEGRecordInfozk();
  info.samplesPerTrial = info.samplesPerTrialAcq = static_cast<std::int32_t>(samples);
}

}  // namespace

int CCtfReader1Samples::readCtfDataResample(const CString& path, int factor) {
  if (factor <= 1) return readCtfDataT(path);
  CMEGDatazk& data = *m_currentData;
  SampleImport import(path, sampleCounts(m_currentData), m_rules);
  const SampleCounts counts = import.counts();
  if (!import.open()) return 0;
  import.showProgress(L"Importing MEG data re-sampling ...", counts.channels);
  const std::int64_t step = std::min<std::int64_t>(factor, counts.samples);
  const std::int64_t length = counts.samples / step;
  const ImportPlan plan{
      .unit = ImportUnit::decimatedBlock, .samples = length, .unitValues = length, .step = step};
  if (!import.prepare(data, plan, channelBlockBytes(counts), nullptr)) return 0;
  const std::size_t kept = import.unit().size() / static_cast<std::size_t>(step);
  const std::unique_ptr<std::int32_t[]> block(new (std::nothrow) std::int32_t[kept]);
  if (!block) return import.failWithoutMemory(nullptr);

  import.forEachChannelBlock([&](std::int32_t trial, std::int32_t /*channel*/) {
    for (std::size_t j = 0;
  j < kept; ++j) block[j] = import.unit()[j * static_cast<std::size_t>(step)];
  samplesToHostOrder({block.get(), kept});
  // Hosts know it so: the channel count in the place of the channel's number, and the block's byte size.
  data.importCtfDataT(trial, counts.channels, length * std::int64_t{sizeof(std::int32_t)}, block.get());
});
import.closeFiles();
setSamplesPerTrial(data, length);
CMEGRecordInfozkProzk& info = *data.getMEGRecordInfozk();
info.sampleRate /= static_cast<double>(step);
info.sampleRateAcq /= static_cast<double>(step);
return 1;
}

int CCtfReader1Samples::readCtfDataSelected(const CString& path, std::int64_t first, std::int64_t last) {
  CMEGDatazk& data = *m_currentData;
  SampleImport import(path, sampleCounts(m_currentData), m_rules);
  const SampleCounts counts = import.counts();
  first = std::max<std::int64_t>(first, 0);
  last = std::min(last, counts.samples - 1);
  const std::int64_t count = last < first ? 0 : last - first + 1;
  const bool countable = counts.trials > 0 && counts.channels > 0 && counts.samples > 0;
  if (countable && (count < 1 || count >= counts.samples)) {
    CString text;
    text.Format(count < 1 ? L"has no samples in that span: a trial has samples 0 to %d"
                          : L"is not cut down by that span: it is a whole trial, samples 0 to %d",
                counts.samples - 1);
    reportFinding({.code = "route.refused", .file = path, .text = text});
    return 0;
  }
  if (!import.open(AvailableBytes::narrow)) return 0;
  import.showProgress(L"Importing MEG selected data ...", counts.channels);
  const ImportPlan plan{
      .unit = ImportUnit::channelBlock, .samples = count, .unitValues = count, .firstSample = first};
  if (!import.prepare(data, plan, channelBlockBytes(counts), nullptr)) return 0;

  import.forEachChannelBlock([&](std::int32_t trial, std::int32_t channel) {
    const auto span = import.unit().subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(count));
  samplesToHostOrder(span);
  data.importCtfDataC(trial, channel, count, span.data());
});
import.closeFiles();
setSamplesPerTrial(data, count);
return 1;
}
