#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <mutex>
#include <new>
#include <stdexcept>

#include "base/encoding.h"
#include "base/memory_range.h"
#include "recording/collected.h"
#include "recording/dataset.h"
#include "recording/file_names.h"
#include "recording/open_recording.h"
#include "recording/sample_sources.h"
#include "recording/selection.h"
#include "recording/timeline.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/recording.h>

namespace ctfmeg {
inline namespace v1 {

/// What copies of a recording share. The sample files are looked at by whoever asks first.
struct Recording::State {
  State(std::shared_ptr<const Store> from, const std::string& stem, const OpenOptions& options)
      : resourceFile(pathFromText(from->pathOf(stem + ".res4"))),
        rules(options.rules),
        name(stem),
        store(std::move(from)),
        workers(options.threads) {}

  const SampleSet& sampleSet() const {
    std::call_once(looked, [this] {
      CollectedFindings findings;
      const RecordInfo& record = dataset.record;
      set.emplace(*store, name, SampleCounts{record.numTrials, record.numChannels, record.samplesPerTrial},
                  findings);
      // The set itself reports the file after its last.
      const bool whole = set->trials() == record.numTrials;
      const int last = whole ? static_cast<int>(set->files().size()) : INT_MAX;
      strayFiles = reportOtherSamples(*store, name, last, findings);
      sampleWarnings = findings.take();
    });
    return *set;
  }

  /// Of trials that are there; throws `Error`.
  std::optional<Gap> gapBetween(int trial, int later) const {
    return readingFiles([&] { return clock->between(sampleSet(), trial, later); });
  }

  std::filesystem::path resourceFile;
  Rules rules;
  std::string name;
  std::shared_ptr<const Store> store;
  Dataset dataset;
  std::vector<Finding> warnings;
  mutable Workers workers;
  std::optional<Clock> clock;  // of the dataset, once it is read

  mutable std::once_flag looked;
  mutable std::optional<SampleSet> set;
  mutable int strayFiles = 0;  // with numbers beyond those of the set
  mutable std::vector<Finding> sampleWarnings;
};

struct Trial::State {
  std::shared_ptr<const SampleSource> source;
  std::shared_ptr<const MemoryRange> memory;  // of all trials that were read together
  std::span<const std::int32_t> values;
  std::int64_t trial;
};

namespace {

namespace fs = std::filesystem;

/// What hosts have always asked about a path that does not look like a dataset's.
void checkFileFormat(const fs::path& file, const OpenOptions& options) {
  const std::string name = lowered(textOf(file.filename()));
  for (const char* known : {"meg4", "res4", ".eeg", "fods"})
    if (name.ends_with(known)) return;
  constexpr const char* kQuestion = "The file does not like CTF format! Would you like to continue?";
  if (options.answer && options.answer(kQuestion)) return;
  throw Error(ErrorKind::refused, file, "does not look like a CTF file; not read");
}

SampleStatus statusOf(const SampleSet& set, int strayFiles) {
  if (set.holdsNothing()) return SampleStatus::noSamples;
  if (set.failure() && !is(*set.failure(), Code::meg4Empty)) return SampleStatus::broken;
  if (set.trials() < set.counts().trials) return SampleStatus::tooShort;
  return set.extraBytes() > 0 || strayFiles > 0 ? SampleStatus::extra : SampleStatus::ok;
}

}  // namespace

Recording openRecording(std::shared_ptr<const Store> store, const std::string& stem,
                        const OpenOptions& options) {
  CollectedFindings findings;
  auto state = std::make_shared<Recording::State>(std::move(store), stem, options);
  try {
    const auto rules = options.rules == Rules::plain ? ReadingRules::plain() : ReadingRules::host();
    Dataset& dataset = state->dataset;
    if (!readDataset(*state->store, stem, rules, findings, dataset))
      throw findings.errorAbout(state->resourceFile);
    reportOtherName(state->resourceFile, findings);
    const double rate = dataset.record.sampleRate;
    // Times of samples must be numbers.
    if (!std::isfinite(rate) || !std::isfinite(0x1p63 / rate) || rate <= 0.0)
      findings.report({Finding::Severity::warning, wordOf(Code::res4Rate), textOf(state->resourceFile),
                       "gives a sample rate that can't be"});
    state->clock.emplace(dataset.channels, dataset.record);
    state->warnings = findings.take();
    return Recording(std::move(state));
  } catch (const std::bad_alloc&) {
    throw Error(ErrorKind::outOfMemory, state->resourceFile, "needs more memory than there is",
                findings.all());
  }
}

Recording Recording::open(const fs::path& path, const OpenOptions& options) {
  const fs::path file = resolveDataset(path);
  checkFileFormat(file, options);
  return openRecording(std::make_shared<LocalStore>(file.parent_path()), textOf(file.stem()), options);
}

const std::string& Recording::name() const& { return m_state->name; }
const fs::path& Recording::resourceFile() const& { return m_state->resourceFile; }
Rules Recording::rules() const { return m_state->rules; }
const RecordInfo& Recording::record() const& { return m_state->dataset.record; }
const std::vector<Channel>& Recording::channels() const& { return m_state->dataset.channels; }
const std::vector<CoefficientRecord>& Recording::coefficients() const& {
  return m_state->dataset.coefficients;
}
const std::vector<std::string>& Recording::badChannels() const& { return m_state->dataset.badChannels; }
const std::vector<BadSegment>& Recording::badSegments() const& { return m_state->dataset.badSegments; }
const std::vector<Marker>& Recording::markers() const& { return m_state->dataset.markers; }
const std::vector<TrialClass>& Recording::classes() const& { return m_state->dataset.classes; }
const Fiducials& Recording::fiducials() const& { return m_state->dataset.fiducials; }
const std::vector<Electrode>& Recording::electrodes() const& { return m_state->dataset.electrodes; }
const Digitised& Recording::digitised() const& { return m_state->dataset.digitised; }
const Information& Recording::information() const& { return m_state->dataset.information; }
const std::vector<VirtualChannel>& Recording::virtualChannels() const& {
  return m_state->dataset.virtualChannels;
}
const std::vector<Finding>& Recording::warnings() const& { return m_state->warnings; }

const std::vector<Finding>& Recording::sampleWarnings() const& {
  if (record().samplesPerTrial > 0) m_state->sampleSet();
  return m_state->sampleWarnings;
}

SampleFiles Recording::sampleFiles() const {
  if (record().samplesPerTrial < 1) return {.trialsSaid = record().numTrials};
  const SampleSet& set = m_state->sampleSet();
  SampleFiles files{.status = statusOf(set, m_state->strayFiles),
                    .count = static_cast<int>(set.files().size()),
                    .trialsSaid = record().numTrials,
                    .trialsThere = set.trials(),
                    .extraBytes = set.extraBytes()};
  for (const auto& file : set.files())
    files.bytes += file.bytes + kSampleHeaderSize;
  if (const auto& partial = set.partialTrial())
    files.partialTrial = SampleFiles::PartialTrial{partial->channels, partial->samples};
  return files;
}

const char* nameOf(SampleStatus status) {
  constexpr std::array kNames{"broken", "no-samples", "short", "extra", "ok"};
  return kNames[static_cast<std::size_t>(status)];
}

Timeline Recording::timeline(int mostTrials) const {
  const RecordInfo& header = record();
  if (header.numTrials > mostTrials) return {};
  const double trialSeconds = header.samplesPerTrial / header.sampleRate;
  const bool hasClock = header.samplesPerTrial > 0 && Clock::channelOf(channels());
  bool known = hasClock && m_state->sampleSet().trials() > 0;
  Timeline timeline{.starts = {0.0}};
  for (int t = 1; t < header.numTrials; ++t) {
    const bool isWhole = known && t < m_state->sampleSet().trials();
    const bool isPartial = known && t == m_state->sampleSet().trials() && m_state->sampleSet().partialTrial();
    std::optional<Gap> gap;
    if (isWhole || isPartial) gap = m_state->gapBetween(t - 1, t);
    if (isWhole) known = gap.has_value();
    timeline.starts.push_back(timeline.starts.back() + trialSeconds + (gap ? gap->seconds : 0.0));
    if (isWhole && gap && gap->samples != 0) timeline.gaps.push_back(*gap);
  }
  if (known) timeline.trialsAdjoin = timeline.gaps.empty();
  return timeline;
}

std::vector<int> Recording::chosenChannels(const Selection& selection) const {
  return ctfmeg::chosenChannels(selection, channels(), resourceFile());
}

RecordInfo Recording::record(const Selection& selection) const {
  RecordInfo record = m_state->dataset.record;
  if (selection.continuous) {
    const auto source = samples(selection);
    const auto step = static_cast<double>(source->origin(0).step);
    record.samplesPerTrial = record.samplesPerTrialAcq =
        static_cast<std::int32_t>(std::min<std::int64_t>(source->shape().samples, INT32_MAX));
    record.sampleRate /= step;
    record.sampleRateAcq /= step;
    record.numTrialsDone = 1;
    return record;
  }
  const Cut cut =
      cutOf(selection, resourceFile(), {record.samplesPerTrial, record.sampleRate, record.preTrigSamples});
  if (cut.samples == record.samplesPerTrial && cut.pieces == 1) return record;
  record.samplesPerTrial = record.samplesPerTrialAcq = static_cast<std::int32_t>(cut.samples);
  record.sampleRate /= static_cast<double>(cut.step);
  record.sampleRateAcq /= static_cast<double>(cut.step);
  if (cut.pieces > 1) {
    const auto trials = chosenTrials(selection, markers(), resourceFile(), record.numTrials);
    record.numTrialsDone = static_cast<std::int32_t>(cut.pieces * std::ssize(trials));
  }
  return record;
}

std::shared_ptr<const SampleSource> Recording::samples(const Selection& selection) const {
  return samplesOfChannels(*this, selection, chosenChannels(selection));
}

std::shared_ptr<const SampleSource> samplesOfChannels(const Recording& recording, const Selection& selection,
                                                      std::vector<int> numbers) {
  const auto& state = recording.m_state;
  const fs::path& file = recording.resourceFile();
  const RecordInfo& header = recording.record();
  std::vector<int> trials = chosenTrials(selection, recording.markers(), file, header.numTrials);
  if (header.samplesPerTrial < 1) throw Error(ErrorKind::refused, file, "says that a trial has no samples");
  const SampleSet& set = state->sampleSet();
  const bool takesPartial =
      selection.partial != Partial::leaveOut && set.partialTrial() && set.partialTrial()->channels > 0;
  if (const auto& failure = set.failure(); failure && !(takesPartial && is(*failure, Code::meg4Empty)))
    throw Error(kindOf(*failure), pathFromText(failure->file), failure->text, state->sampleWarnings);

  const int there = set.trials() + (takesPartial ? 1 : 0);
  const auto beyond = std::lower_bound(trials.begin(), trials.end(), there);
  if (beyond != trials.end() && (selection.trials || selection.markers))
    throw missingTrial(*beyond, file, state->sampleWarnings);
  trials.erase(beyond, trials.end());

  bool missing = false;
  if (takesPartial && trials.back() == set.trials()) {
    const auto cut = std::lower_bound(numbers.begin(), numbers.end(), set.partialTrial()->channels);
    missing = selection.partial == Partial::fill && cut != numbers.end();
    if (selection.partial == Partial::drop) numbers.erase(cut, numbers.end());
    if (numbers.empty())
      throw Error(ErrorKind::refused, file, "has none of the chosen channels in its last trial");
  }
  std::vector<Channel> chosen;
  chosen.reserve(numbers.size());
  for (const int number : numbers)
    chosen.push_back(recording.channels()[static_cast<std::size_t>(number)]);
  std::vector<Finding> findings;
  const auto gapBetween = [&state](int trial, int later) { return state->gapBetween(trial, later); };
  Arrangement arrangement = arrange(selection, trials, {header, file, gapBetween}, findings);
  arrangement.missing = arrangement.missing || missing;
  if (auto remark = aliasingOf(header, arrangement.step, file)) findings.push_back(*std::move(remark));
  return std::make_shared<FileSamples>(state, set, state->workers, std::move(chosen), std::move(arrangement),
                                       std::move(findings));
}

std::vector<Trial> Recording::read(const Selection& selection, const ProgressFunction& progress) const {
  const auto source = samples(selection);
  if (source->hasMissing()) throw std::invalid_argument("values are missing, which a trial can't say");
  const Shape shape = source->shape();
  const auto values = static_cast<std::size_t>(shape.samples) * static_cast<std::size_t>(shape.channels);
  auto memory = std::make_shared<MemoryRange>();
  // A range of addresses alone costs nothing: its pages are taken as they are written.
  const auto trials = static_cast<std::size_t>(shape.trials);
  const auto noMemory = [this] {
    return Error(ErrorKind::outOfMemory, resourceFile(), "needs more memory than there is for its samples");
  };
  if (trials > SIZE_MAX / sizeof(std::int32_t) / values ||
      trials * values * sizeof(std::int32_t) > grantedMemory() ||
      !memory->reserve(trials * values * sizeof(std::int32_t)) ||
      memory->use(0, trials * values * sizeof(std::int32_t)))
    throw noMemory();
  const std::span all(static_cast<std::int32_t*>(memory->data()), trials * values);

  // Short trials come several at once: enough to keep several processors busy, and few enough that whoever
  // watches sees the reading go on.
  constexpr std::size_t kAtOnce = std::size_t{1} << 22;
  const auto step = static_cast<std::int64_t>(std::max<std::size_t>(kAtOnce / values, 1));
  const auto tell = [&](std::int64_t done) {
    const double fraction = static_cast<double>(done) / static_cast<double>(shape.trials);
    if (progress && !progress({"Reading samples", fraction}))
      throw Error(ErrorKind::stopped, resourceFile(), "the reading was stopped");
  };
  for (std::int64_t trial = 0; trial < shape.trials;) {
    tell(trial);
    const std::int64_t count = std::min(step, shape.trials - trial);
    source->read({.trial = trial, .trials = count, .channels = shape.channels, .samples = shape.samples},
                 all.subspan(static_cast<std::size_t>(trial) * values));
    trial += count;
  }
  tell(shape.trials);
  std::vector<Trial> read;
  for (std::size_t t = 0; t < trials; ++t)
    read.push_back(Trial(std::make_shared<Trial::State>(
        Trial::State{source, memory, all.subspan(t * values, values), static_cast<std::int64_t>(t)})));
  return read;
}

Trial Recording::trial(int number) const {
  if (number < 0 || number >= record().numTrials)
    throw std::out_of_range("trial " + std::to_string(number) + " is not one of 0 to " +
                            std::to_string(record().numTrials - 1));
  return read({.trials = std::vector{number}}).front();
}

int Trial::channels() const { return m_state->source->shape().channels; }
std::int64_t Trial::samples() const { return m_state->source->shape().samples; }

std::span<const std::int32_t> Trial::raw() const& { return m_state->values; }

std::span<const std::int32_t> Trial::raw(int channel) const& {
  if (channel < 0 || channel >= channels())
    throw std::out_of_range("channel " + std::to_string(channel) + " is not one of 0 to " +
                            std::to_string(channels() - 1));
  const auto count = static_cast<std::size_t>(samples());
  return m_state->values.subspan(static_cast<std::size_t>(channel) * count, count);
}

std::size_t Trial::physical(int channel, std::span<double> out, std::int64_t first) const {
  requireRange("samples", first, 0, samples());
  const auto values = raw(channel).subspan(static_cast<std::size_t>(first));
  const std::size_t count = std::min(values.size(), out.size());
  convert(values.first(count), m_state->source->channels()[static_cast<std::size_t>(channel)].gain,
          Values::physical, out.data());
  return count;
}

void Trial::physical(int channel, int channels, std::int64_t first, std::int64_t samples,
                     std::span<double> out) const {
  requireRange("channels", channel, channels, this->channels());
  requireRange("samples", first, samples, this->samples());
  const auto count = static_cast<std::size_t>(samples);
  if (out.size() < static_cast<std::size_t>(channels) * count)
    throw std::invalid_argument("there is room for " + std::to_string(out.size()) + " of " +
                                std::to_string(channels * samples) + " values");
  for (int c = 0; c < channels; ++c)
    physical(channel + c, out.subspan(static_cast<std::size_t>(c) * count, count), first);
}

Origin Trial::origin() const { return m_state->source->origin(m_state->trial); }
double Trial::time(std::int64_t sample) const { return m_state->source->time(m_state->trial, sample); }

}  // namespace v1
}  // namespace ctfmeg
