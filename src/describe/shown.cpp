#include "describe/shown.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "base/finding_codes.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/record_fields.h>

namespace ctfmeg::describe {
namespace {

/// Each tag once, where it was set first, with its last value.
Information withoutRepeats(const Information& information) {
  std::unordered_map<std::string_view, const InformationEntry*> last;
  for (const InformationEntry& entry : information.entries)
    last[entry.tag] = &entry;
  Information once{{}, information.text};
  for (const InformationEntry& entry : information.entries)
    if (const auto found = last.extract(entry.tag)) once.entries.push_back(*found.mapped());
  return once;
}

StoredSamples storedSamples(const SelectedSamples& selected) {
  const SampleSource& source = *selected.source;
  const bool isRun = selected.isRun;
  StoredSamples stored{source.shape(), isRun, !selected.epochs.empty(), {}, source.time(0, 0), source.gaps()};
  if (isRun)
    for (const Piece& piece : source.pieces(0))
      stored.fileTrials.push_back(piece.fileTrial);
  for (std::int64_t trial = 0; trial < stored.shape.trials && !isRun; ++trial)
    stored.fileTrials.push_back(source.origin(trial).fileTrial);
  return stored;
}

/// The trials of a selection, or all, each once.
std::vector<std::int64_t> trialsOf(const ShownDataset& dataset) {
  std::vector<std::int64_t> trials;
  if (dataset.stored && !dataset.stored->isEpochs) {
    std::unique_copy(dataset.stored->fileTrials.begin(), dataset.stored->fileTrials.end(),
                     std::back_inserter(trials));
  } else {
    for (int t = 0; t < dataset.record.numTrials; ++t)
      trials.push_back(t);
  }
  return trials;
}

void describeTiming(ShownDataset& dataset, const Recording& recording, int mostTrials) {
  const RecordInfo& header = recording.record();
  Timing& timing = dataset.timing;
  timing.sampleRate = dataset.record.sampleRate;
  timing.acquisitionRate = header.sampleRate;
  timing.firstTime =
      dataset.stored ? dataset.stored->firstTime : -1.0 * header.preTrigSamples / header.sampleRate;
  if (header.samplesPerTrial < 1) return;
  Timeline timeline;
  try {
    timeline = recording.timeline(mostTrials);
  } catch (const Error& error) {
    dataset.findings.insert(dataset.findings.end(), error.findings().begin(), error.findings().end());
    return;
  }
  dataset.trialStarts = std::move(timeline.starts);
  if (!timeline.trialsAdjoin) return;
  const double trialSeconds = header.samplesPerTrial / header.sampleRate;
  const auto trials = trialsOf(dataset);
  const bool isRun = dataset.stored && dataset.stored->isRun;
  if (isRun) timing.gaps = dataset.stored->gaps;
  for (std::size_t i = 1; i < trials.size() && !isRun; ++i) {
    const auto before = static_cast<std::size_t>(trials[i - 1]), after = static_cast<std::size_t>(trials[i]);
    const double missing = dataset.trialStarts.at(after) - dataset.trialStarts.at(before) - trialSeconds;
    const double gap = missing * header.sampleRate;
    const auto samples = std::abs(gap) < 0x1p62 ? std::llround(gap) : 0;
    if (samples != 0) timing.gaps.push_back({static_cast<int>(before), missing, samples});
  }
  timing.trialsAdjoin = timing.gaps.empty();
}

std::vector<std::string> codesOfWarnings(const std::vector<Finding>& findings) {
  std::vector<std::string> codes;
  for (const Finding& finding : findings)
    if (finding.severity != Finding::Severity::remark) codes.push_back(finding.code);
  return codes;
}

}  // namespace

void ShownDataset::add(const std::vector<Finding>& more) {
  findings.insert(findings.end(), more.begin(), more.end());
  const auto codes = codesOfWarnings(more);
  warningCodes.insert(warningCodes.end(), codes.begin(), codes.end());
}

std::string lastName(const std::string& path) {
  const std::filesystem::path given = pathFromText(path);
  return textOf((given.has_filename() ? given : given.parent_path()).filename());
}

std::vector<Finding> aboutSamples(const Recording& recording) {
  if (recording.record().samplesPerTrial < 1) return {};
  std::vector<Finding> findings = recording.sampleWarnings();
  for (Finding& finding : findings)
    finding.severity = std::min(finding.severity, Finding::Severity::warning);
  return findings;
}

ShownDataset describedRecord(const std::string& path, const Recording& recording) {
  ShownDataset dataset;
  dataset.path = path;
  dataset.name = recording.name();
  dataset.rules = recording.rules();
  dataset.record = recording.record();
  dataset.findings = recording.warnings();
  dataset.warningCodes = codesOfWarnings(dataset.findings);
  return dataset;
}

ShownDataset described(const std::string& path, const Recording& recording, const SelectedSamples& selected,
                       int mostTrials) {
  ShownDataset dataset = described(path, recording);
  dataset.record = selected.record;
  if (recording.record().samplesPerTrial > 0) dataset.files = recording.sampleFiles();
  if (selected.source) dataset.stored = storedSamples(selected);
  dataset.findings.insert(dataset.findings.end(), selected.findings.begin(), selected.findings.end());
  describeTiming(dataset, recording, mostTrials);
  dataset.warningCodes = codesOfWarnings(dataset.findings);
  return dataset;
}

ShownDataset described(const std::string& path, const Recording& recording) {
  ShownDataset dataset = describedRecord(path, recording);
  dataset.channels = recording.channels();
  dataset.coefficients = recording.coefficients();
  dataset.compensation = compensationOrders(dataset.channels, dataset.coefficients);
  dataset.markers = recording.markers();
  dataset.classes = recording.classes();
  dataset.fiducials = recording.fiducials();
  dataset.electrodes = recording.electrodes();
  dataset.digitised = recording.digitised();
  dataset.information = withoutRepeats(recording.information());
  dataset.badChannels = recording.badChannels();
  dataset.badSegments = recording.badSegments();
  dataset.virtualChannels = recording.virtualChannels();
  return dataset;
}

ShownDataset described(const std::string& path, const Error& error) {
  ShownDataset dataset;
  dataset.path = path;
  const std::string file = textOf(error.path());
  dataset.error =
      ShownError{error.kind(), file, error.text(),
                 error.path() == pathFromText(path) ? error.text() : lastName(file) + ": " + error.text()};
  dataset.findings = error.findings();
  dataset.warningCodes = codesOfWarnings(dataset.findings);
  return dataset;
}

std::optional<double> runTime(const ShownDataset& dataset, std::int32_t trial, double secondsInTrial) {
  if (trial < 0 || static_cast<std::size_t>(trial) >= dataset.trialStarts.size()) return std::nullopt;
  return dataset.trialStarts[static_cast<std::size_t>(trial)] + secondsInTrial;
}

std::optional<double> runTime(const ShownDataset& dataset, const MarkerSample& sample) {
  const double beforeTrigger = dataset.record.preTrigSamples / dataset.timing.acquisitionRate;
  return runTime(dataset, sample.trial, sample.timeMs / 1000.0 + beforeTrigger);
}

std::optional<double> runTime(const ShownDataset& dataset, const BadSegment& segment) {
  return runTime(dataset, segment.trial, segment.startMs / 1000.0);
}

std::optional<std::int32_t> gradientOrderOf(const Channel& channel) {
  return isMeg(channel) ? std::optional(channel.gradientOrder) : std::nullopt;
}

std::string redacted(const std::string& path) { return lastName(path); }

std::vector<Finding> redacted(std::vector<Finding> findings) {
  std::erase_if(findings, [](const Finding& finding) {
    const CodeInfo* info = findCode(finding.code);
    return info == nullptr || info->mayNamePerson;
  });
  for (Finding& finding : findings)
    finding.file = lastName(finding.file);
  return findings;
}

ShownDataset redacted(ShownDataset dataset) {
  dataset.redacted = true;
  dataset.path = lastName(dataset.path);
  forEachRecordField([&dataset](const char* /*name*/, auto member, bool identifying) {
    if (identifying) member(dataset.record) = {};
  });
  for (Marker& marker : dataset.markers)
    marker.comment.clear();
  for (TrialClass& trialClass : dataset.classes)
    trialClass.comment.clear();
  std::erase_if(dataset.information.entries, canIdentify);
  dataset.information.text.clear();
  // A line of that file may be any text.
  std::unordered_set<std::string_view> names;
  for (const Channel& channel : dataset.channels) {
    names.insert(channel.name);
    names.insert(channel.shortName);
  }
  std::erase_if(dataset.badChannels, [&](const std::string& name) { return !names.contains(name); });
  dataset.findings = redacted(std::move(dataset.findings));
  if (dataset.error) dataset.error->file = lastName(dataset.error->file);
  return dataset;
}

}  // namespace ctfmeg::describe
