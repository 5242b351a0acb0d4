#include <algorithm>
#include <limits>
#include <new>
#include <optional>
#include <set>
#include <string>

#include "check_host/check_host.h"
#include "recording/collected.h"
#include "recording/sample_sources.h"
#include "recording/selection.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/record_fields.h>
#include <megreader/framework/encoding.h>
#include <megreader/framework/finding.h>
#include <megreader/framework/native_path.h>
#include <megreader/framework/user_interface.h>
#include <megreader/reader/meg_reader_face.h>

namespace ctfmeg {
namespace {

namespace fs = std::filesystem;

/// Thrown through an import when the caller's progress function wants it to stop.
struct StopReading {};

/// Counts steps instead of trusting positions: importers that read channel by channel begin anew for every
/// trial.
class CountingProgress : public ProgressWindow {
 public:
  CountingProgress(const ProgressFunction& progress, std::string title, double steps)
      : m_progress(progress), m_now{std::move(title), 0.0}, m_steps(std::max(steps, 1.0)) {}

  void setRange(int /*low*/, int /*high*/) override {}

  void setPosition(int /*position*/) override {
    m_now.fraction = std::min(m_done++ / m_steps, 1.0);
    if (!m_progress(m_now)) throw StopReading{};
  }

 private:
  const ProgressFunction& m_progress;
  Progress m_now;
  double m_steps;
  double m_done = 0.0;
};

Finding plainFinding(const ::Finding& finding) {
  return {static_cast<Finding::Severity>(finding.severity),
          finding.code,
          toNativePath(finding.file),
          toUtf8(finding.text),
          finding.offset,
          finding.line};
}

/// The user of one reading: chooses its file, answers as the caller does, and keeps what is reported.
/// Messages say nothing that findings do not.
class HostUser : public UserInterface {
 public:
  /// `steps`: how often the importer sets its position, whatever range and positions it uses.
  HostUser(CString file, const OpenOptions& options, const ProgressFunction& progress, double steps)
      : m_file(std::move(file)), m_options(options), m_progress(progress), m_steps(steps) {}

  MessageAnswer messageBox(const CString& text, MessageStyle style) override {
    if (style != MessageStyle::yesNo) return MessageAnswer::ok;
    return m_options.answer && m_options.answer(toUtf8(text)) ? MessageAnswer::yes : MessageAnswer::no;
  }
  std::optional<CString> chooseFile(const CString& /*filter*/, int /*filterIndex*/) override {
    return m_file;
  }
  /// No operation that is used here shows one.
  bool modalDialog(const DialogTemplate& /*dialogTemplate*/, DialogOwner& /*owner*/) override {
    return false;
  }
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override {
    if (!m_progress) return nullptr;
    m_title = toUtf8(title);
    return std::make_unique<CountingProgress>(m_progress, m_title, m_steps);
  }
  void report(const ::Finding& finding) override { findings.report(plainFinding(finding)); }

  /// That all is read, whatever a set that ends early has left out.
  void finishProgress() const {
    if (m_progress) m_progress({m_title, 1.0});
  }

  CollectedFindings findings;

 private:
  CString m_file;
  const OpenOptions& m_options;
  const ProgressFunction& m_progress;
  double m_steps;
  std::string m_title;
};

void assign(std::string& to, const CString& from) { to = toUtf8(from); }

template <class To, class From>
void assign(To& to, const From& from) {
  to = from;
}

/// Copies the members that a list names from a struct of the data model to its plain counterpart.
template <class To, class From>
auto copyTo(To& to, const From& from) {
  return [&to, &from](const char*, auto member, bool) { assign(member(to), member(from)); };
}

RecordInfo plainRecord(const CMEGRecordInfozkProzk& info) {
  RecordInfo record;
  forEachRecordField(copyTo(record, info));
  for (const auto& from : info.filters) {
    Filter& filter = record.filters.emplace_back();
    forEachFilterField(copyTo(filter, *from));
    if (from->params)
      filter.params.assign(from->params.get(), from->params.get() + std::max(from->numParams, 0));
  }
  return record;
}

/// The trials of a data object that hold samples.
class HostSamples : public SampleSource {
 public:
  HostSamples(std::unique_ptr<CMEGDatazk> data, const Recording& header, const std::vector<int>& channels)
      : m_data(std::move(data)), m_record(header.record()) {
    for (int t = 0; t < m_data->trialSlots(); ++t)
      if (m_data->trialSamples(t) != nullptr) m_slots.push_back(t);
    for (const int channel : channels)
      m_channels.push_back(header.channels()[static_cast<std::size_t>(channel)]);
  }

  Shape shape() const override {
    return {std::ssize(m_slots), static_cast<int>(m_channels.size()), m_data->storedSamples()};
  }
  const std::vector<Channel>& channels() const override { return m_channels; }
  double sampleRate() const override {
    return m_record.sampleRate / (m_slots.empty() ? 1.0 : static_cast<double>(origin(0).step));
  }

  Origin origin(std::int64_t trial) const override {
    requireRange("trials", trial, 1, std::ssize(m_slots));
    const TrialOrigin from = m_data->trialOrigin(slot(trial));
    return {from.fileTrial, from.firstSample, from.step};
  }

  double time(std::int64_t trial, std::int64_t sample) const override {
    requireRange("samples", sample, 1, m_data->storedSamples());
    return timeOf(origin(trial), sample, m_record.preTrigSamples, m_record.sampleRate);
  }

 protected:
  void readInto(const Window& window, const Target& target) const override {
    std::vector<std::int32_t> some;
    std::visit(
        [&](auto* out) {
          for (std::int64_t t = window.trial; t < window.trial + window.trials; ++t)
            for (int c = window.channel; c < window.channel + window.channels; ++c) {
              const Channel& channel = m_channels[static_cast<std::size_t>(c)];
              const std::int32_t* from =
                  m_data->trialSamples(slot(t)) + channel.index * m_data->storedSamples() + window.first;
              some.clear();
              for (std::int64_t i = 0; window.step > 1 && i < window.samples; ++i)
                some.push_back(from[i * window.step]);
              convert({window.step > 1 ? some.data() : from, static_cast<std::size_t>(window.samples)},
                      channel.gain, target.values, out);
              out += window.samples;
            }
        },
        target.out);
  }

 private:
  int slot(std::int64_t trial) const { return m_slots[static_cast<std::size_t>(trial)]; }

  std::unique_ptr<CMEGDatazk> m_data;
  RecordInfo m_record;
  std::vector<Channel> m_channels;
  std::vector<int> m_slots;
};

/// One operation of the facade. A failed one, or one that an exception ends, leaves its data object in the
/// array.
class HostReader {
 public:
  HostReader(CString path, int threads) : m_path(std::move(path)) { m_facade.setReadingThreads(threads); }
  HostReader(const HostReader&) = delete;
  HostReader& operator=(const HostReader&) = delete;
  ~HostReader() { takeData(); }

  /// `trials`: those of a selection by trials or marker, else all.
  bool read(const Selection& selection, const std::vector<int>& trials) {
    if (selection.trials || selection.markers) return readTrials(trials) != 0;
    if (selection.samples)
      return m_facade.readSelectSample(&m_array, toInt(selection.samples->first),
                                       toInt(selection.samples->last), nullptr) != 0;
    if (selection.pieces != 1) return m_facade.readTrialSplit(&m_array, selection.pieces, nullptr) != 0;
    if (selection.step != 1) return m_facade.readResampling(&m_array, selection.step, nullptr) != 0;
    return m_facade.readCTFMEGData2HdPa(m_path, &m_array, nullptr, nullptr) != 0;
  }

  std::unique_ptr<CMEGDatazk> takeData() {
    if (m_array.GetSize() == 0) return nullptr;
    std::unique_ptr<CMEGDatazk> data(static_cast<CMEGDatazk*>(m_array.GetAt(0)));
    m_array.RemoveAll();
    return data;
  }

 private:
  /// Hosts choose trials by a marker, so that one is made of them.
  int readTrials(const std::vector<int>& trials) {
    CMarkerDatazk marker;
    for (const int number : trials)
      marker.samples.push_back({number, 0.0, 0});
    return m_facade.readCTFMEGData2HdPa(m_path, &m_array, nullptr, &marker);
  }

  static int toInt(std::int64_t sample) {
    constexpr std::int64_t kLast = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(sample, -kLast, kLast));
  }

  CString m_path;
  CMEGReaderFacezk m_facade;
  CPtrArray m_array;
};

/// Throws for what the facade has no operation for. Its operations take counts below 1 for 1.
void checkSelection(const Selection& selection, const fs::path& file, const RecordInfo& record) {
  const int ways = (selection.trials ? 1 : 0) + (selection.markers ? 1 : 0) + (selection.samples ? 1 : 0) +
                   (selection.pieces != 1 ? 1 : 0) + (selection.step != 1 ? 1 : 0);
  if (ways > 1)
    throw Error(ErrorKind::refused, file, "can't be read by several selections at once under host rules");
  if (selection.continuous || selection.seconds || selection.partial != Partial::leaveOut)
    throw Error(ErrorKind::refused, file,
                "can't be read as a run, by seconds or with a trial that is cut short under host rules");
  if (!selection.samples)
    cutOf(selection, file, {record.samplesPerTrial, record.sampleRate, record.preTrigSamples});
}

/// A set that ends early may lack trials that its header has.
void requireTrials(const std::vector<int>& trials, const SampleSource& samples, const fs::path& file,
                   const CollectedFindings& findings) {
  std::set<int> there;
  for (std::int64_t t = 0; t < samples.shape().trials; ++t)
    there.insert(samples.origin(t).fileTrial);
  for (const int number : trials)
    if (!there.contains(number)) throw missingTrial(number, file, findings.all());
}

/// Only the backslash separates inside the reader, and slashes become backslashes on the way there.
void requireNoBackslash(const fs::path& file) {
  if constexpr (fs::path::preferred_separator == '/')
    if (file.native().find('\\') != fs::path::string_type::npos)
      throw Error(ErrorKind::refused, file,
                  "holds a backslash, which separates folders inside the reader: rename it");
}

}  // namespace

HostReading readAsHost(const fs::path& path, const Selection& selection, const OpenOptions& options,
                       const ProgressFunction& progress) {
  OpenOptions hostOptions = options;
  hostOptions.rules = Rules::host;
  const Recording header = Recording::open(path, hostOptions);
  const RecordInfo& record = header.record();
  const fs::path& file = header.resourceFile();
  requireNoBackslash(file);
  checkSelection(selection, file, record);
  const std::vector<int> channels = header.chosenChannels(selection);
  const auto trials = chosenTrials(selection, header.markers(), file, record.numTrials);

  const bool byChannel = selection.samples || selection.step > 1;
  const double steps = static_cast<double>(record.numTrials) * (byChannel ? record.numChannels : 1);
  const CString reading = toWindowsPath(textOf(file));
  HostUser user(reading, options, progress, steps);
  for (const Finding& finding : header.warnings())
    user.findings.report(finding);
  const ThreadUserInterface installed(&user);
  try {
    HostReader reader(reading, options.threads);
    if (!reader.read(selection, trials)) throw user.findings.errorAbout(file);
    std::unique_ptr<CMEGDatazk> data = reader.takeData();
    HostReading read{plainRecord(*data->getMEGRecordInfozk()), nullptr, {}};
    read.samples = std::make_shared<HostSamples>(std::move(data), header, channels);
    if (selection.trials || selection.markers) requireTrials(trials, *read.samples, file, user.findings);
    if (read.samples->shape().trials == 0) throw user.findings.errorAbout(file);
    user.finishProgress();
    read.findings = user.findings.take();
    if (auto remark = aliasingOf(record, selection.step, file)) read.findings.push_back(*std::move(remark));
    return read;
  } catch (CFileException* exception) {
    const auto& known = user.findings.all();
    const bool knowsWhy = std::any_of(known.begin(), known.end(), [](const Finding& finding) {
      return finding.severity == Finding::Severity::error;
    });
    if (!knowsWhy) user.report(::findingOf(*exception));
    exception->Delete();
    throw user.findings.errorAbout(file);
  } catch (CException* exception) {
    exception->Delete();
    throw user.findings.errorAbout(file);
  } catch (const std::bad_alloc&) {
    throw Error(ErrorKind::outOfMemory, file, "needs more memory than there is", user.findings.all());
  } catch (const StopReading&) {
    throw Error(ErrorKind::stopped, file, "the reading was stopped", user.findings.all());
  }
}

}  // namespace ctfmeg
