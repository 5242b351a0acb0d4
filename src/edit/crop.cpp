#include <algorithm>
#include <cmath>
#include <set>
#include <span>
#include <tuple>

#include "ctf/sample_set.h"
#include "edit/compare.h"
#include "edit/cropping.h"
#include "edit/rename.h"
#include "recording/file_names.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {
namespace {

namespace fs = std::filesystem;

void requireCroppable(const Selection& selection, const fs::path& file) {
  const auto refuse = [&](const std::string& text) { throw Error(ErrorKind::refused, file, text); };
  if (selection.continuous) refuse("can't be cropped to a run: a dataset holds trials");
  if (selection.pieces != 1) refuse("can't be cropped to pieces of trials: a copy has trials of the file");
  if (selection.step != 1) refuse("can't be cropped to some samples of a span: a copy has all of them");
  if (selection.partial == Partial::fill)
    refuse("can't be cropped with samples that are missing: a dataset holds none");
}

KeptPart keptPart(const Recording& recording, const SampleSource& samples) {
  const Shape shape = samples.shape();
  std::vector<int> trials, channels;
  for (std::int64_t t = 0; t < shape.trials; ++t)
    trials.push_back(samples.origin(t).fileTrial);
  for (const Channel& channel : samples.channels())
    channels.push_back(channel.index);
  KeptPart kept(recording.record(), recording.channels(), trials, channels, samples.origin(0).firstSample,
                shape.samples);
  const double rate = recording.record().sampleRate;
  if (!kept.hasWholeTrials() && !(std::isfinite(rate) && rate > 0.0))
    throw Error(ErrorKind::refused, recording.resourceFile(),
                "has no sample rate: markers and bad segments can't follow a span");
  return kept;
}

/// The source's own sample files as far as they go, where the copy has all of its trials from the first on to
/// some last one. Empty where it does not.
std::vector<PlannedFile> wholeSampleFiles(const Source& source, const KeptPart& kept,
                                          const std::string& name) {
  std::int64_t left = std::ssize(kept.trials());
  if (!kept.hasWholeTrials() || !kept.hasAllChannels() || kept.trials().back() != left - 1) return {};
  const SampleCounts counts{.trials = kept.record().numTrials,
                            .channels = kept.record().numChannels,
                            .samples = kept.record().samplesPerTrial};
  std::vector<PlannedFile> files;
  while (left > 0) {
    const auto number = static_cast<int>(files.size());
    const auto file = std::find_if(source.files.begin(), source.files.end(), [&](const SourceFile& one) {
      return one.name == sampleFileName(source.name(), number);
    });
    if (file == source.files.end() || file->bytes < kSampleHeaderSize) return {};
    const auto held = static_cast<std::int64_t>((file->bytes - kSampleHeaderSize) / counts.trialBytes());
    const auto trials = static_cast<std::uint64_t>(std::min(held, left));
    left -= held;
    files.push_back({sampleFileName(name, number),
                     PartOfFile{file->path, kSampleHeaderSize + trials * counts.trialBytes()}});
  }
  return files;
}

/// The name of the file that a backup is of; of other files their own.
std::string withoutBackup(std::string name) {
  for (const char* end : {".bak", ".1"})
    if (name.ends_with(end)) name.resize(name.size() - std::string_view(end).size());
  return name;
}

/// What cropping makes of a file that has the new name in it already. False where nothing of it is left.
bool crop(PlannedFile& file, const Source& source, const std::string& name, const KeptPart& kept,
          CopyReport& report) {
  const auto replace = [&](auto make) {
    const auto* part = std::get_if<PartOfFile>(&file.content);
    std::optional<Edited> cropped =
        make(part != nullptr ? bytesOf(part->path) : std::get<std::string>(file.content));
    if (!cropped) return false;
    append(report.changes, file.name, std::move(cropped->changes));
    file.content = std::move(cropped->bytes);
    return true;
  };
  const auto optional = [](Edited edited) { return std::optional(std::move(edited)); };
  if (file.name == name + ".res4")
    return replace([&](const auto& bytes) { return optional(cropResource(bytes, kept, source.file())); });
  if (file.name == name + ".infods")
    return replace([&](const auto& bytes) { return optional(cropInformation(bytes, kept)); });
  const std::string kind = withoutBackup(file.name);
  if (kind == "MarkerFile.mrk")
    return replace([&](const auto& bytes) { return optional(cropEvents(bytes, kMarkerBlock, kept)); });
  if (kind == "ClassFile.cls")
    return replace([&](const auto& bytes) { return optional(cropEvents(bytes, kClassBlock, kept)); });
  if (kind == "bad.segments")
    return replace([&](const auto& bytes) { return optional(cropBadSegments(bytes, kept)); });
  if (kind == "BadChannels")
    return replace([&](const auto& bytes) { return optional(cropBadChannels(bytes, kept)); });
  if (kind == "VirtualChannels")
    return replace([&](const auto& bytes) { return cropVirtualChannels(bytes, kept); });
  return true;
}

/// Occurrences of a copy, by those of its source: trial, sample and time.
std::vector<std::tuple<int, std::int64_t, double>> occurrencesOf(const Marker& marker, const KeptPart* kept) {
  std::vector<std::tuple<int, std::int64_t, double>> occurrences;
  for (const MarkerSample& sample : marker.samples) {
    const auto trial = kept != nullptr ? kept->trialOf(sample.trial) : sample.trial;
    if (trial && (kept == nullptr || kept->hasSample(sample.sample)))
      occurrences.emplace_back(*trial, sample.sample - (kept != nullptr ? kept->first() : 0), sample.timeMs);
  }
  return occurrences;
}

std::vector<int> trialsOf(const TrialClass& trialClass, const KeptPart* kept) {
  std::vector<int> trials;
  for (const std::int32_t number : trialClass.trials.value_or(std::vector<std::int32_t>{}))
    if (const auto trial = kept != nullptr ? kept->trialOf(number) : number) trials.push_back(*trial);
  return trials;
}

/// Throws `Error` where the copy says something else than it should.
void compareCropped(const Recording& source, const Recording& copy, const KeptPart& kept,
                    const CopyReport& report) {
  const std::set<std::string_view> follow{
      "samplesPerTrialAcq", "preTrigSamplesAcq", "channels", "coefficients",   "badChannels",
      "badSegments",        "markers",           "classes",  "virtualChannels"};
  compareRecordings(source, copy, [&](std::string_view what) {
    const auto isIt = [&](const Change& change) {
      return change.field == what || (what == "information" && change.file.ends_with(".infods"));
    };
    return follow.contains(what) || std::any_of(report.changes.begin(), report.changes.end(), isIt);
  });
  const auto require = [&](bool holds, const char* what) {
    if (!holds)
      throw Error(ErrorKind::notWritten, copy.resourceFile().parent_path(),
                  std::string("does not have the ") + what + " that were to be in it");
  };
  const RecordInfo &is = copy.record(), &was = source.record();
  require(is.samplesPerTrial == kept.samples() && is.numTrials == std::ssize(kept.trials()) &&
              is.preTrigSamples == was.preTrigSamples - kept.first(),
          "trials");
  std::vector<std::string> left, there;
  for (const Channel& channel : source.channels())
    if (kept.isKept(channel)) left.push_back(channel.name);
  for (const Channel& channel : copy.channels())
    there.push_back(channel.name);
  require(left == there, "channels");
  const auto same = [&](const auto& of, const auto& copied, auto contentOf) {
    return std::equal(of.begin(), of.end(), copied.begin(), copied.end(), [&](const auto& a, const auto& b) {
      return a.name == b.name && contentOf(a, &kept) == contentOf(b, nullptr);
    });
  };
  const bool timesChange = std::any_of(report.changes.begin(), report.changes.end(),
                                       [](const Change& change) { return change.field == kTimesField; });
  const auto placesOf = [&](const Marker& marker, const KeptPart* part) {
    auto occurrences = occurrencesOf(marker, part);
    for (auto& [trial, sample, timeMs] : occurrences)
      if (timesChange) timeMs = 0.0;  // the samples say enough
    return occurrences;
  };
  require(same(source.markers(), copy.markers(), placesOf), "markers");
  require(same(source.classes(), copy.classes(), trialsOf), "classes");
}

/// The part of a progress from one fraction of the whole to another.
ProgressFunction partOf(const ProgressFunction& progress, double from, double to) {
  if (!progress) return {};
  return [&progress, from, to](const Progress& part) {
    return progress({part.title, from + (to - from) * part.fraction});
  };
}

void compareSamples(const SampleSource& wanted, const Recording& copy, const ProgressFunction& progress) {
  const Shape shape = wanted.shape();
  const double all =
      4.0 * static_cast<double>(shape.trials) * shape.channels * static_cast<double>(shape.samples);
  double done = 0.0;
  const auto goOn = [&](std::uint64_t bytes) {
    done += static_cast<double>(bytes);
    if (progress && !progress({"Comparing", done / all}))
      throw Error(ErrorKind::stopped, copy.resourceFile().parent_path(), "the copying was stopped");
  };
  if (!haveSameSamples(wanted, *copy.samples(), goOn))
    throw Error(ErrorKind::notWritten, copy.resourceFile().parent_path(),
                "does not have the samples that were to be in it");
}

}  // namespace
}  // namespace ctfmeg::edit

namespace ctfmeg {
inline namespace v1 {

CopyReport cropDataset(const std::filesystem::path& in, const std::filesystem::path& out,
                       const Selection& selection, const ProgressFunction& progress) {
  using namespace edit;
  const Source source = openSource(in);
  requireNew(out, source.directory);
  requireCroppable(selection, source.file());
  const DatasetName name = nameChange(source, out);
  const auto samples = source.recording.samples(selection);
  const KeptPart kept = keptPart(source.recording, *samples);

  CopyReport report{{}, source.warnings};
  for (const auto* noticed : {&source.recording.sampleWarnings(), &samples->warnings()})
    report.warnings.insert(report.warnings.end(), noticed->begin(), noticed->end());
  for (Finding& lost : lossesOf(source.recording, kept))
    report.warnings.push_back(std::move(lost));
  CopyPlan plan;
  for (const std::string& folder : source.folders)
    plan.folders.push_back(name.ofFile(folder));
  for (const SourceFile& file : source.files) {
    if (stemOfSamples(file.name) == source.name()) continue;
    PlannedFile planned = renamedFile(file, name, report);
    if (crop(planned, source, name.now(), kept, report))
      plan.files.push_back(std::move(planned));
    else
      report.changes.push_back({Change::What::removed, planned.name, "", 1});
  }
  auto sampleFiles = wholeSampleFiles(source, kept, name.now());
  const bool areMade = sampleFiles.empty();
  if (areMade) sampleFiles = edit::sampleFiles(samples, name.now());
  for (PlannedFile& file : sampleFiles) {
    report.changes.push_back({areMade ? Change::What::replaced : Change::What::kept, file.name, "", 1});
    plan.files.push_back(std::move(file));
  }
  requireOwnNames(plan, source);

  constexpr double kWritten = 0.7;
  StagedCopy copy(plan, out, partOf(progress, 0.0, areMade ? kWritten : 1.0));
  copy.commit(source, [&](const Recording& written) {
    compareCropped(source.recording, written, kept, report);
    if (areMade) compareSamples(*samples, written, partOf(progress, kWritten, 1.0));
  });
  return report;
}

}  // namespace v1
}  // namespace ctfmeg
