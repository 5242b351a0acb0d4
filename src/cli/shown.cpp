#include "cli/shown.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "base/finding_codes.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/record_fields.h>

namespace ctfmeg::cli {
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

StoredSamples storedSamples(const SampleSource& source) {
  const Shape shape = source.shape();
  StoredSamples stored;
  for (std::int64_t trial = 0; trial < shape.trials; ++trial)
    stored.fileTrials.push_back(source.origin(trial).fileTrial);
  stored.samples = shape.samples;
  stored.firstTime = source.time(0, 0);
  return stored;
}

std::vector<std::string> warningCodes(const std::vector<Finding>& findings) {
  std::vector<std::string> codes;
  for (const Finding& finding : findings)
    if (finding.severity != Finding::Severity::remark) codes.push_back(finding.code);
  return codes;
}

}  // namespace

std::string lastName(const std::string& path) {
  const std::filesystem::path given = pathFromText(path);
  return textOf((given.has_filename() ? given : given.parent_path()).filename());
}

ShownDataset describeRecord(const std::string& path, const Recording& recording) {
  ShownDataset dataset;
  dataset.path = path;
  dataset.name = recording.name();
  dataset.rules = recording.rules();
  dataset.record = recording.record();
  dataset.findings = recording.warnings();
  dataset.warningCodes = warningCodes(dataset.findings);
  return dataset;
}

ShownDataset describe(const std::string& path, const Recording& recording,
                      const std::optional<SelectedSamples>& selected) {
  ShownDataset dataset = describeRecord(path, recording);
  if (selected) {
    dataset.record = selected->record;
    dataset.stored = storedSamples(*selected->source);
    dataset.findings.insert(dataset.findings.end(), selected->findings.begin(), selected->findings.end());
    dataset.warningCodes = warningCodes(dataset.findings);
  }
  dataset.channels = recording.channels();
  dataset.coefficients = recording.coefficients();
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

ShownDataset describe(const std::string& path, const Error& error) {
  ShownDataset dataset;
  dataset.path = path;
  const std::string file = textOf(error.path());
  dataset.error =
      ShownError{error.kind(), file, error.text(),
                 error.path() == pathFromText(path) ? error.text() : lastName(file) + ": " + error.text()};
  dataset.findings = error.findings();
  dataset.warningCodes = warningCodes(dataset.findings);
  return dataset;
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

}  // namespace ctfmeg::cli
