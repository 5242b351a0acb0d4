#include "host/recording.h"

#include <algorithm>
#include <new>
#include <optional>
#include <stdexcept>

#include "framework/file_error.h"
#include "framework/native_path.h"
#include "host/convert.h"
#include "host/recording_interface.h"
#include "reader/meg_reader_face.h"

namespace ctfmeg {
inline namespace v1 {

struct Recording::State {
  std::unique_ptr<CMEGDatazk> data;
  std::string name;
  RecordInfo record;
  std::vector<Channel> channels;
  std::vector<CoefficientRecord> coefficients;
  std::vector<int> trialNumbers;
  std::vector<Finding> warnings;
  double acquisitionRate = 0.0;  // Hz
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
  if (code == "memory") return ErrorKind::outOfMemory;
  return ErrorKind::damaged;
}

/// The error that a failed read ends in: its first finding of that weight says what and where.
Error errorFrom(const std::filesystem::path& file, const RecordingInterface& user) {
  const auto& findings = user.findings();
  if (user.refused()) return {ErrorKind::refused, file, "does not look like a CTF file; not read", findings};
  for (const Finding& finding : findings)
    if (finding.severity == Finding::Severity::error)
      return {kindOfCode(finding.code), finding.file.empty() ? file : std::filesystem::path(finding.file),
              finding.text, findings};
  const std::string text = findings.empty() ? "can't be read" : findings.back().text;
  return {ErrorKind::damaged, file, text, findings};
}

/// Reads through the facade; null when that fails.
std::unique_ptr<CMEGDatazk> readData(const CString& path, const ReadOptions& options) {
  CMEGReaderFacezk facade;
  facade.setReadingRules(options.rules == Rules::plain ? ReadingRules::plain() : ReadingRules::host());
  if (!options.samples) {
    auto data = std::make_unique<CMEGDatazk>();
    CString file = path;
    return facade.readCTFMEGDataInfo(file, data.get()) ? std::move(data) : nullptr;
  }
  CPtrArray array;
  const auto takeFirst = [&array] {
    return std::unique_ptr<CMEGDatazk>(array.GetSize() > 0 ? static_cast<CMEGDatazk*>(array.GetAt(0))
                                                           : nullptr);
  };
  try {
    return facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr) ? takeFirst() : nullptr;
  } catch (...) {
    takeFirst();  // an exception leaves the data object in the array
    throw;
  }
}

}  // namespace

Recording Recording::read(const std::filesystem::path& path, const ReadOptions& options) {
  std::filesystem::path file = path;
  RecordingInterface user(options);
  const ThreadUserInterface installed(&user);
  try {
    file = resolveDataset(path);
    auto state = std::make_shared<State>();
    state->data = readData(toWindowsPath(file.string()), options);
    if (!state->data) throw errorFrom(file, user);
    const CMEGDatazk& data = *state->data;
    if (options.samples && data.numStoredTrials() == 0) throw errorFrom(file, user);
    state->name = toNativePath(data.name);
    state->record = convertRecord(*data.getMEGRecordInfozk());
    state->acquisitionRate = state->record.sampleRate;
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
  for (std::size_t i = 0; i < count; ++i)
    out[i] = values[i] / gain;
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
  const RecordInfo& record = m_state->recording->record;
  return static_cast<double>(from.firstSample + sample * from.step - record.preTrigSamples) /
         record.sampleRate;
}

}  // namespace v1
}  // namespace ctfmeg
