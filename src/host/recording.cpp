#include <ctfmeg/recording.h>

#include <algorithm>
#include <limits>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>

#include <megreader/framework/file_error.h>
#include <megreader/framework/native_path.h>
#include "host/convert.h"
#include "host/divide.h"
#include <ctfmeg/path_text.h>
#include "host/recording_interface.h"
#include <megreader/reader/meg_reader_face.h>

namespace ctfmeg {
inline namespace v1 {

namespace {

struct SideFiles {
  std::vector<std::string> badChannels;
  std::vector<BadSegment> badSegments;
  std::vector<Marker> markers;
  std::vector<TrialClass> classes;
  Fiducials fiducials;
  std::vector<Electrode> electrodes;
  Digitised digitised;
  Information information;
  std::vector<VirtualChannel> virtualChannels;
};

}  // namespace

struct Recording::State {
  std::unique_ptr<CMEGDatazk> data;
  std::string name;
  RecordInfo record;
  std::vector<Channel> channels;
  std::vector<CoefficientRecord> coefficients;
  SideFiles side;
  std::vector<int> trialNumbers;
  std::vector<Finding> warnings;
  double acquisitionRate = 0.0;  // Hz, whatever the route leaves in the record
};

struct Trial::State {
  std::shared_ptr<const Recording::State> recording;
  int number;
};

namespace {

ErrorKind kindOfCode(const std::string& code) {
  if (code == "file.notFound") return ErrorKind::notFound;
  if (code == "file.noPermission") return ErrorKind::noPermission;
  if (code == "res4.magic") return ErrorKind::notADataset;
  if (code == "memory" || code == "memory.spill") return ErrorKind::outOfMemory;
  if (code == "route.refused") return ErrorKind::refused;
  return ErrorKind::damaged;
}

/// The error that a failed read ends in: its first finding of that weight says what and where.
Error errorFrom(const std::filesystem::path& file, const RecordingInterface& user) {
  const auto& findings = user.findings();
  for (const Finding& finding : findings)
    if (finding.severity == Finding::Severity::error)
      return {kindOfCode(finding.code), finding.file.empty() ? file : pathFromText(finding.file),
              finding.text, findings};
  if (user.refused()) return {ErrorKind::refused, file, "does not look like a CTF file; not read", findings};
  const std::string text = findings.empty() ? "can't be read" : findings.back().text;
  return {ErrorKind::damaged, file, text, findings};
}

ReadingRules rulesOf(Rules rules) {
  return rules == Rules::plain ? ReadingRules::plain() : ReadingRules::host();
}

CMEGReaderFacezk makeFacade(const ReadOptions& options) {
  CMEGReaderFacezk facade;
  facade.setReadingRules(rulesOf(options.rules));
  facade.setSampleMemory({options.memory, toWindowsPath(textOf(options.spillFolder))});
  facade.setReadingThreads(0);
  return facade;
}

/// Everything but the samples; null when that fails.
std::unique_ptr<CMEGDatazk> readHeader(CString path, const ReadOptions& options) {
  auto data = std::make_unique<CMEGDatazk>();
  return makeFacade(options).readCTFMEGDataInfo(path, data.get()) ? std::move(data) : nullptr;
}

SideFiles sideFilesOf(const CMEGDatazk& data, Rules rules) {
  return {convertBadChannels(data),
          convertBadSegments(data),
          convertMarkers(*data.getTrigManager()),
          convertClasses(*data.getClassManager(), rulesOf(rules).trialsKept),
          convertFiducials(data),
          convertElectrodes(data),
          convertDigitised(data),
          convertInformation(data.getMEGRecordInfozk()->information),
          convertVirtualChannels(data)};
}

/// One operation of the facade for each route. The file dialog that some show is answered with the path.
class RouteReader {
 public:
  RouteReader(const CString& path, const ReadOptions& options, std::int32_t samplesPerTrial)
      : m_path(path), m_facade(makeFacade(options)), m_samplesPerTrial(samplesPerTrial) {}
  RouteReader(const RouteReader&) = delete;
  RouteReader& operator=(const RouteReader&) = delete;
  /// A failed route, or one that an exception ends, leaves its data object in the array.
  ~RouteReader() { takeData(); }

  int operator()(const Whole&) { return m_facade.readCTFMEGData2HdPa(m_path, &m_array, nullptr, nullptr); }
  int operator()(const EveryNth& every) { return m_facade.readResampling(&m_array, every.n, nullptr); }
  int operator()(const SampleSpan& span) {
    return m_facade.readSelectSample(&m_array, toInt(span.first), toInt(span.last), nullptr);
  }
  int operator()(const Pieces& pieces) {
    return m_facade.readTrialSplit(&m_array, std::min(pieces.count, m_samplesPerTrial), nullptr);
  }
  int operator()(const MarkedTrials&) { return 0; }  // read as a `TrialList`
  int operator()(const TrialList& list) {
    CMarkerDatazk marker;
    for (const int number : list.numbers)
      marker.samples.push_back({number, 0.0, 0});
    return m_facade.readCTFMEGData2HdPa(m_path, &m_array, nullptr, &marker);
  }

  std::unique_ptr<CMEGDatazk> takeData() {
    if (m_array.GetSize() == 0) return nullptr;
    std::unique_ptr<CMEGDatazk> data(static_cast<CMEGDatazk*>(m_array.GetAt(0)));
    m_array.SetSize(0);
    return data;
  }

 private:
  static int toInt(std::int64_t sample) {
    constexpr std::int64_t kLast = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(sample, -kLast, kLast));
  }

  CString m_path;
  CMEGReaderFacezk m_facade;
  std::int32_t m_samplesPerTrial;
  CPtrArray m_array;
};

/// The trials of the file in which a marker occurs; throws when there are none.
TrialList trialsOf(const std::string& name, const std::vector<Marker>& markers,
                   const std::filesystem::path& file, std::int32_t trials, RecordingInterface& user) {
  const auto marker =
      std::find_if(markers.begin(), markers.end(), [&](const Marker& m) { return m.name == name; });
  if (marker == markers.end()) {
    std::string there;
    for (const Marker& m : markers)
      there += (there.empty() ? "" : ", ") + m.name;
    throw Error(ErrorKind::refused, file,
                "has no marker " + name + ": " + (there.empty() ? "there are none" : "there are " + there));
  }
  std::set<int> numbers;
  for (const MarkerSample& sample : marker->samples)
    if (sample.trial >= 0 && sample.trial < trials)
      numbers.insert(sample.trial);
    else
      user.add({Finding::Severity::warning, "marker.trial", textOf(file),
                "has no trial " + std::to_string(sample.trial) + ", in which marker " + name + " occurs"});
  if (numbers.empty())
    throw Error(ErrorKind::refused, file, "has no trial in which marker " + name + " occurs");
  return {{numbers.begin(), numbers.end()}};
}

/// Throws for a route that asks for what cannot be.
void checkRoute(const Route& route, const std::filesystem::path& file, std::int32_t trials) {
  const auto refuse = [&file](const std::string& text) { throw Error(ErrorKind::refused, file, text); };
  if (const auto* every = std::get_if<EveryNth>(&route); every != nullptr && every->n < 1)
    refuse("can't be resampled by " + std::to_string(every->n) + ": 1 keeps every sample");
  if (const auto* pieces = std::get_if<Pieces>(&route); pieces != nullptr && pieces->count < 1)
    refuse("can't be cut into " + std::to_string(pieces->count) + " pieces");
  const auto* list = std::get_if<TrialList>(&route);
  if (list != nullptr && list->numbers.empty()) refuse("can't be read by a list of no trials");
  if (list != nullptr)
    for (const int number : list->numbers)
      if (number < 0 || number >= trials)
        refuse("has no trial " + std::to_string(number) + ": there are trials 0 to " +
               std::to_string(trials - 1));
}

/// A set that ends early may lack trials that its header has.
void requireTrials(const TrialList& list, const CMEGDatazk& data, const std::filesystem::path& file,
                   const RecordingInterface& user) {
  std::set<int> there;
  for (int t = 0; t < data.trialSlots(); ++t)
    if (data.trialSamples(t) != nullptr) there.insert(data.trialOrigin(t).fileTrial);
  for (const int number : list.numbers) {
    if (there.contains(number)) continue;
    std::string text = "does not have trial " + std::to_string(number) + " whole";
    for (const Finding& finding : user.findings())
      if (finding.code == "meg4.short") text += ": the set " + finding.text;
    throw Error(ErrorKind::damaged, file, text, user.findings());
  }
}

/// Whether an importer reads, and tells where it is, channel by channel; else trial by trial.
bool readsChannelByChannel(const Route& route) {
  const auto* every = std::get_if<EveryNth>(&route);
  return (every != nullptr && every->n > 1) || std::holds_alternative<SampleSpan>(route);
}

}  // namespace

Recording Recording::read(const std::filesystem::path& path, const ReadOptions& options) {
  std::filesystem::path file = path;
  RecordingInterface user(options);
  const ThreadUserInterface installed(&user);
  try {
    file = resolveDataset(path);
    const CString reading = toWindowsPath(textOf(file));
    user.setFile(reading);
    auto state = std::make_shared<State>();
    state->data = readHeader(reading, options);
    if (!state->data) throw errorFrom(file, user);
    state->acquisitionRate = state->data->getMEGRecordInfozk()->sampleRate;
    // A route may leave its own markers in the data object.
    state->side = sideFilesOf(*state->data, options.rules);
    Route route = options.route;
    if (options.samples) {
      const CMEGRecordInfozkProzk& header = *state->data->getMEGRecordInfozk();
      if (const auto* marked = std::get_if<MarkedTrials>(&options.route))
        route = trialsOf(marked->marker, state->side.markers, file, header.numTrials, user);
      checkRoute(route, file, header.numTrials);
      const double trials = header.numTrials;
      user.setProgressSteps(readsChannelByChannel(route) ? trials * header.numChannels : trials);
      RouteReader reader(reading, options, header.samplesPerTrial);
      if (!std::visit(reader, route)) throw errorFrom(file, user);
      state->data = reader.takeData();
      if (const auto* list = std::get_if<TrialList>(&route)) requireTrials(*list, *state->data, file, user);
      if (state->data->numStoredTrials() == 0) throw errorFrom(file, user);
      user.finishProgress();
    }
    const CMEGDatazk& data = *state->data;
    state->name = toNativePath(data.name);
    state->record = convertRecord(*data.getMEGRecordInfozk());
    state->channels = convertChannels(data);
    state->coefficients = convertCoefficients(*data.getMEGRecordInfozk()->getSensorCoefficientzk());
    for (int t = 0; t < data.trialSlots(); ++t)
      if (data.trialSamples(t) != nullptr) state->trialNumbers.push_back(t);
    state->warnings = user.findings();
    return Recording(std::move(state));
  } catch (CFileException* exception) {
    if (!user.knowsWhy()) user.report(findingOf(*exception));
    exception->Delete();
    throw errorFrom(file, user);
  } catch (CException* exception) {
    exception->Delete();
    throw errorFrom(file, user);
  } catch (const std::bad_alloc&) {
    throw Error(ErrorKind::outOfMemory, file, "needs more memory than there is", user.findings());
  } catch (const StopReading&) {
    throw Error(ErrorKind::stopped, file, "the reading was stopped", user.findings());
  }
}

const std::string& Recording::name() const { return m_state->name; }
const RecordInfo& Recording::record() const { return m_state->record; }
const std::vector<Channel>& Recording::channels() const { return m_state->channels; }
const std::vector<CoefficientRecord>& Recording::coefficients() const { return m_state->coefficients; }
const std::vector<std::string>& Recording::badChannels() const { return m_state->side.badChannels; }
const std::vector<BadSegment>& Recording::badSegments() const { return m_state->side.badSegments; }
const std::vector<Marker>& Recording::markers() const { return m_state->side.markers; }
const std::vector<TrialClass>& Recording::classes() const { return m_state->side.classes; }
const Fiducials& Recording::fiducials() const { return m_state->side.fiducials; }
const std::vector<Electrode>& Recording::electrodes() const { return m_state->side.electrodes; }
const Digitised& Recording::digitised() const { return m_state->side.digitised; }
const Information& Recording::information() const { return m_state->side.information; }
const std::vector<VirtualChannel>& Recording::virtualChannels() const {
  return m_state->side.virtualChannels;
}
const std::vector<int>& Recording::trialNumbers() const { return m_state->trialNumbers; }
const std::vector<Finding>& Recording::warnings() const { return m_state->warnings; }

Trial Recording::trial(int number) const {
  if (m_state->data->trialSamples(number) == nullptr) {
    std::string there;
    for (const int t : trialNumbers())
      there += (there.empty() ? "" : ", ") + std::to_string(t);
    throw std::out_of_range("trial " + std::to_string(number) + " holds no samples; there are trials " +
                            (there.empty() ? "none" : there));
  }
  return Trial(std::make_shared<Trial::State>(Trial::State{m_state, number}));
}

int Trial::channels() const { return m_state->recording->data->storedChannels(); }
std::int64_t Trial::samples() const { return m_state->recording->data->storedSamples(); }

std::span<const std::int32_t> Trial::raw() const {
  const auto count = static_cast<std::size_t>(channels()) * static_cast<std::size_t>(samples());
  return {m_state->recording->data->trialSamples(m_state->number), count};
}

std::span<const std::int32_t> Trial::raw(int channel) const {
  if (channel < 0 || channel >= channels())
    throw std::out_of_range("channel " + std::to_string(channel) + " is not one of 0 to " +
                            std::to_string(channels() - 1));
  const auto count = static_cast<std::size_t>(samples());
  return raw().subspan(static_cast<std::size_t>(channel) * count, count);
}

std::size_t Trial::physical(int channel, std::span<double> out) const {
  const auto values = raw(channel);
  const double gain = m_state->recording->channels[static_cast<std::size_t>(channel)].gain;
  const std::size_t count = std::min(values.size(), out.size());
  divideEach(values.first(count), gain, out);
  return count;
}

Origin Trial::origin() const {
  const TrialOrigin origin = m_state->recording->data->trialOrigin(m_state->number);
  return {origin.fileTrial, origin.firstSample, origin.step};
}

double Trial::time(std::int64_t sample) const {
  if (sample < 0 || sample >= samples())
    throw std::out_of_range("sample " + std::to_string(sample) + " is not one of 0 to " +
                            std::to_string(samples() - 1));
  const Origin from = origin();
  const std::int64_t trigger = m_state->recording->record.preTrigSamples;
  return static_cast<double>(from.firstSample + sample * from.step - trigger) /
         m_state->recording->acquisitionRate;
}

}  // namespace v1
}  // namespace ctfmeg
