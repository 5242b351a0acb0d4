#include <algorithm>
#include <mutex>
#include <new>
#include <stdexcept>

#include "base/encoding.h"
#include "base/memory_range.h"
#include "recording/collected.h"
#include "recording/dataset.h"
#include "recording/physical.h"
#include "recording/sample_sources.h"
#include "recording/selection.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/recording.h>

namespace ctfmeg {
inline namespace v1 {

/// What copies of a recording share. The sample files are looked at by whoever asks first.
struct Recording::State {
  State(const std::filesystem::path& file, const OpenOptions& options)
      : resourceFile(file.parent_path() / pathFromText(textOf(file.stem()) + ".res4")),
        rules(options.rules),
        threads(options.threads),
        name(textOf(file.stem())),
        store(file.parent_path()) {}

  const SampleSet& sampleSet() const {
    std::call_once(looked, [this] {
      CollectedFindings findings;
      const RecordInfo& record = dataset.record;
      set.emplace(store, name, SampleCounts{record.numTrials, record.numChannels, record.samplesPerTrial},
                  findings);
      sampleWarnings = findings.take();
    });
    return *set;
  }

  std::filesystem::path resourceFile;
  Rules rules;
  int threads;
  std::string name;
  LocalStore store;
  Dataset dataset;
  SampleScale scale;
  std::vector<Finding> warnings;

  mutable std::once_flag looked;
  mutable std::optional<SampleSet> set;
  mutable std::vector<Finding> sampleWarnings;
};

struct Trial::State {
  std::shared_ptr<const SampleSource> source;
  std::shared_ptr<const MemoryRange> memory;  // of all trials that were read together
  std::span<const std::int32_t> values;
  const std::vector<double>* gains;  // the source keeps them
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

}  // namespace

Recording Recording::open(const fs::path& path, const OpenOptions& options) {
  const fs::path file = resolveDataset(path);
  checkFileFormat(file, options);
  CollectedFindings findings;
  try {
    auto state = std::make_shared<State>(file, options);
    const auto rules = options.rules == Rules::plain ? ReadingRules::plain() : ReadingRules::host();
    Dataset& dataset = state->dataset;
    if (!readDataset(state->store, state->name, rules, findings, dataset)) throw findings.errorAbout(file);
    for (const Channel& channel : dataset.channels)
      state->scale.gains.push_back(channel.gain);
    state->scale.sampleRate = dataset.record.sampleRate;
    state->scale.preTrigSamples = dataset.record.preTrigSamples;
    state->warnings = findings.take();
    return Recording(std::move(state));
  } catch (const std::bad_alloc&) {
    throw Error(ErrorKind::outOfMemory, file, "needs more memory than there is", findings.all());
  }
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

RecordInfo Recording::record(const Selection& selection) const {
  RecordInfo record = m_state->dataset.record;
  const Cut cut = cutOf(selection, resourceFile(), record.samplesPerTrial);
  if (cut.samples == record.samplesPerTrial && cut.pieces == 1) return record;
  record.samplesPerTrial = record.samplesPerTrialAcq = static_cast<std::int32_t>(cut.samples);
  record.sampleRate /= static_cast<double>(cut.step);
  record.sampleRateAcq /= static_cast<double>(cut.step);
  if (cut.pieces > 1) record.numTrialsDone = static_cast<std::int32_t>(cut.pieces * record.numTrials);
  return record;
}

std::shared_ptr<const SampleSource> Recording::samples(const Selection& selection) const {
  const fs::path& file = resourceFile();
  const RecordInfo& header = record();
  const std::vector<int> chosen = chosenTrials(selection, markers(), file, header.numTrials);
  if (header.samplesPerTrial < 1) throw Error(ErrorKind::refused, file, "says that a trial has no samples");
  const Cut cut = cutOf(selection, file, header.samplesPerTrial);
  const SampleSet& set = m_state->sampleSet();
  if (const auto& failure = set.failure())
    throw Error(kindOf(*failure), pathFromText(failure->file), failure->text, m_state->sampleWarnings);
  std::vector<FileSamples::Piece> pieces;
  for (const int trial : chosen) {
    if (trial >= set.trials()) {
      if (!selection.trials && !selection.marker) break;
      throw missingTrial(trial, file, m_state->sampleWarnings);
    }
    for (std::int64_t piece = 0; piece < cut.pieces; ++piece)
      pieces.push_back({trial, cut.first + piece * cut.length});
  }
  return std::make_shared<FileSamples>(m_state, set, m_state->scale, std::move(pieces), cut.samples, cut.step,
                                       m_state->threads);
}

std::vector<Trial> Recording::read(const Selection& selection, const ProgressFunction& progress) const {
  const auto source = samples(selection);
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
    read.push_back(Trial(
        std::make_shared<Trial::State>(Trial::State{source, memory, all.subspan(t * values, values),
                                                    &m_state->scale.gains, static_cast<std::int64_t>(t)})));
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

std::size_t Trial::physical(int channel, std::span<double> out) const {
  const auto values = raw(channel);
  const std::size_t count = std::min(values.size(), out.size());
  divideEach(values.first(count), (*m_state->gains)[static_cast<std::size_t>(channel)], out);
  return count;
}

Origin Trial::origin() const { return m_state->source->origin(m_state->trial); }
double Trial::time(std::int64_t sample) const { return m_state->source->time(m_state->trial, sample); }

}  // namespace v1
}  // namespace ctfmeg
