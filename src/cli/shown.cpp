#include "cli/shown.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include <ctfmeg/path_text.h>
#include "ctf/record_fields.h"

namespace ctfmeg::cli {
namespace {

/// Codes of findings whose text may name a person: messages may hold paths, and findings about temporary
/// files name folders. Others hold no names but those of channels, markers and classes.
constexpr std::array<std::string_view, 3> kMayNameAPerson{"message", "samples.spilled", "memory.spill"};

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

std::optional<StoredSamples> storedSamples(const Recording& recording) {
  if (recording.trialNumbers().empty()) return std::nullopt;
  StoredSamples stored;
  for (const int number : recording.trialNumbers())
    stored.fileTrials.push_back(recording.trial(number).origin().fileTrial);
  const Trial first = recording.trial(recording.trialNumbers().front());
  stored.samples = first.samples();
  stored.firstTime = first.time(0);
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

ShownDataset describeRecord(const std::string& path, Rules rules, const Recording& recording) {
  ShownDataset dataset;
  dataset.path = path;
  dataset.name = recording.name();
  dataset.rules = rules;
  dataset.record = recording.record();
  dataset.findings = recording.warnings();
  dataset.warningCodes = warningCodes(dataset.findings);
  return dataset;
}

ShownDataset describe(const std::string& path, Rules rules, const Recording& recording) {
  ShownDataset dataset = describeRecord(path, rules, recording);
  dataset.stored = storedSamples(recording);
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
  dataset.error = ShownError{error.kind(), file, error.text(),
                             file == path ? error.text() : lastName(file) + ": " + error.text()};
  dataset.findings = error.findings();
  dataset.warningCodes = warningCodes(dataset.findings);
  return dataset;
}

std::string redacted(const std::string& path) { return lastName(path); }

std::vector<Finding> redacted(std::vector<Finding> findings) {
  std::erase_if(findings, [](const Finding& finding) {
    return std::find(kMayNameAPerson.begin(), kMayNameAPerson.end(), finding.code) != kMayNameAPerson.end();
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
  if (auto& error = dataset.error)
    // Where samples were to be kept is no part of the dataset.
    error->file = error->kind == ErrorKind::outOfMemory ? dataset.path : lastName(error->file);
  return dataset;
}

}  // namespace ctfmeg::cli
