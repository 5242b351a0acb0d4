#include <algorithm>
#include <new>
#include <vector>

#include "hosts/reader/ctf_dataset_reader.h"
#include "hosts/reader/sample_import.h"

#include <megreader/framework/user_interface.h>

// Importers that keep only the trials in which a marker occurs. Buffers are made once the set is open: it is
// then known how much a file holds, and no header can ask for more.

namespace {

int failWithoutMarker(const CString& path) {
  reportFinding({.code = ctfmeg::wordOf(ctfmeg::Code::callMarker),
                 .file = path,
                 .text = L"can't be read by marker: there is no marker"});
  return 0;
}

const CMarkerDatazk* firstMarker(CMEGDatazk* data) {
  return data != nullptr ? data->getTrigManager()->getMarker(0, true) : nullptr;
}

/// Selection by occurrence: a trial is kept when it is the one that the next occurrence names. Occurrences
/// must come in rising trial order: one that names a trial already passed keeps everything after it out.
class Occurrences {
 public:
  explicit Occurrences(const CMarkerDatazk& marker) : m_marker(marker) {}

  bool keep(std::int32_t trial) {
    if (trial != m_marker.getTrgMrkTrial(m_kept)) return false;
    ++m_kept;
    return true;
  }
  int kept() const { return m_kept; }

 private:
  const CMarkerDatazk& m_marker;
  int m_kept = 0;
};

}  // namespace

int CCtfReader1Samples::readCtfDataTrigger(const CString& path, const CMarkerDatazk* marker) {
  if (marker == nullptr) return failWithoutMarker(path);
  CMEGDatazk* const data = m_currentData;
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const ctfmeg::SampleCounts counts = reading.counts();
  if (!reading.open()) return 0;
  reading.showProgress(L"Importing MEG data with triggers ...", counts.trials);
  const std::int64_t most = std::clamp<std::int64_t>(marker->getTotalTrgMrkPts(), 1, reading.trials());
  std::vector<bool> chosen(static_cast<std::size_t>(reading.trials()));
  for (const MarkerSample& sample : marker->samples)
    if (sample.trial >= 0 && sample.trial < reading.trials())
      chosen[static_cast<std::size_t>(sample.trial)] = true;
  const auto count = static_cast<std::int32_t>(std::count(chosen.begin(), chosen.end(), true));
  const ImportPlan plan{.unit = ImportUnit::trial,
                        .trials = static_cast<std::int32_t>(most),
                        .samples = counts.samples,
                        .mostTrials = std::max(count, 1)};
  if (!reading.prepare(*data, plan, reading.countedTrialBytes(), kTooBig)) {
    data->openTrial(0);
    return 0;
  }
  std::int32_t stored = 0;
  reading.forEachTrial([&](std::int32_t trial) {
    if (chosen[static_cast<std::size_t>(trial)])
      data->importCtfDataT(stored++, counts.channels, counts.samples, reading.samples());
    return true;
  });
  return 1;
}

int CCtfReader1Samples::readCtfDataMultiTrial(const CString& path, const CMEGDatazk* source,
                                              CMEGDatazk* destination) {
  return importOccurrences(path, source, destination, L"Import multi-trials data ...",
                           sampleCounts(source).trials);
}

int CCtfReader1Samples::readCtfDataAccumulate(const CString& path, CMEGDatazk* destination, int count) {
  const int trials = sampleCounts(m_currentData).trials;
  return importOccurrences(path, m_currentData, destination, L"Import and accumulate MEG data ...",
                           std::clamp(count, 1, std::max(trials, 1)));
}

int CCtfReader1Samples::importOccurrences(const CString& path, const CMEGDatazk* source,
                                          CMEGDatazk* destination, const wchar_t* title, int limit) {
  const CMarkerDatazk* marker = firstMarker(destination);
  if (marker == nullptr) return failWithoutMarker(path);
  SampleImport reading(path, source, m_rules, m_sampleMemory, m_readingThreads);
  const ctfmeg::SampleCounts counts = reading.counts();
  if (!reading.open()) return 0;
  const std::uint64_t bytes = reading.countedTrialBytes();
  const std::int64_t most = std::clamp<std::int64_t>(marker->getTotalTrgMrkPts(), 1, std::max(limit, 1));
  const ImportPlan plan{
      .unit = ImportUnit::trial,
      .samples = counts.samples,
      .mostTrials = static_cast<std::int32_t>(std::min<std::int64_t>(most, reading.trials()))};
  if (!reading.prepare(*destination, plan, bytes, nullptr)) return 0;
  reading.showProgress(title, counts.trials);
  Occurrences occurrences(*marker);
  reading.forEachTrial([&](std::int32_t trial) {
    if (!occurrences.keep(trial)) return true;
    // Hosts rely on it: where other importers pass the sample count, these two pass the trial's byte size.
    destination->importCtfDataT(trial, counts.channels, static_cast<std::int64_t>(bytes), reading.samples());
    return occurrences.kept() < limit;
  });
  return 1;
}

int CCtfReader1Samples::readCtfDataAverage(const CString& path, CMEGDatazk* destination) {
  const CMarkerDatazk* marker = firstMarker(destination);
  if (marker == nullptr) return failWithoutMarker(path);
  SampleImport reading(path, m_currentData, m_rules, m_sampleMemory, m_readingThreads);
  const ctfmeg::SampleCounts counts = reading.counts();
  if (!reading.open(AvailableBytes::narrow)) return 0;
  const ImportPlan plan{.unit = ImportUnit::summedTrial, .trials = 1, .samples = counts.samples};
  if (!reading.prepare(*destination, plan, reading.countedTrialBytes(), nullptr)) return 0;
  const std::size_t values = reading.unit().size();
  const std::unique_ptr<double[]> sums(new (std::nothrow) double[values]());
  if (!sums) return reading.failWithoutMemory(nullptr);

  reading.showProgress(L"Import and average MEG data ...", counts.trials);
  Occurrences occurrences(*marker);
  reading.forEachTrial([&](std::int32_t trial) {
    if (!occurrences.keep(trial)) return true;
    const std::int32_t* samples = reading.samples();
    for (std::size_t i = 0; i < values; ++i)
      sums[i] += samples[i];
    return true;
  });
  // The sums, not the mean: whoever wants that divides by the number of trials.
  destination->setTrialDataF(0, counts.channels, counts.samples, sums.get());
  CMEGRecordInfozkProzk& info = *destination->getMEGRecordInfozk();
  info.numTrials = 1;
  info.numTrialsAvgd = occurrences.kept();
  return 1;
}
