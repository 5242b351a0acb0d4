#include <algorithm>
#include <cmath>
#include <set>
#include <span>
#include <system_error>

#include "base/encoding.h"
#include "base/file.h"
#include "base/finding_codes.h"
#include "edit/event_lines.h"
#include "edit/marking.h"
#include "edit/source.h"
#include "output/numbers.h"
#include "output/result_file.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {

using ctfmeg::textOf;  // of a path; the room has one of lines

namespace {

namespace fs = std::filesystem;

/// The marks that are asked for, in a dataset that can have them.
class MarkRequest {
 public:
  MarkRequest(const Recording& recording, const Marks& marks)
      : m_recording(recording), m_marks(marks), m_record(recording.record()) {}

  /// Places of channels that a list chooses.
  std::set<int> channels(const std::vector<std::string>& list) const {
    if (list.empty()) return {};
    const auto places = m_recording.chosenChannels({.channels = list});
    for (const int place : places)
      if (m_recording.channels()[static_cast<std::size_t>(place)].name.empty())
        refuse("has a channel without a name, number " + std::to_string(place) + ", which can't be marked");
    return {places.begin(), places.end()};
  }

  void requireSegments() const {
    for (const BadSegment& segment : m_marks.badSegments) {
      requireTrial(segment.trial);
      const double end = m_record.samplesPerTrial / rate();
      constexpr double kRounding = 1e-3;  // samples
      const double room = kRounding / rate();
      const bool isWithin = segment.startMs / 1000.0 >= -room && segment.endMs / 1000.0 <= end + room;
      if (!(segment.startMs < segment.endMs) || !isWithin)
        refuse("has no segment from " + text(segment.startMs / 1000.0) + " to " +
               text(segment.endMs / 1000.0) + " s: a trial is from 0 to " + text(end) +
               " s, counted from its start, and a segment ends after it begins");
    }
  }

  std::vector<MarkerSample> samples() const {
    std::vector<MarkerSample> samples;
    for (const Marks::Occurrence& at : m_marks.occurrences) {
      requireTrial(at.trial);
      const MarkerSample sample{at.trial, at.seconds * 1000.0,
                                timing().sampleAt(at.seconds, ReadingRules::plain())};
      if (rate() > 0.0 && sample.sample >= 0 && sample.sample < m_record.samplesPerTrial) {
        samples.push_back(sample);
        continue;
      }
      const double first = static_cast<double>(-std::int64_t{m_record.preTrigSamples}) / rate();
      refuse("has no sample at " + text(at.seconds) + " s: a trial is from " + text(first) + " to " +
             text(first + (m_record.samplesPerTrial - 1) / rate()) + " s, counted from the trigger");
    }
    return samples;
  }

  /// Throws `Error` for a name that no line of a file can be.
  void requireMarkerName() const {
    const std::string& name = m_marks.marker;
    if (name.empty()) refuse("can't have an occurrence of a marker without a name");
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    constexpr const char* kCant = "can't have a marker of that name: ";
    if (std::any_of(name.begin(), name.end(), isControl))
      refuse(std::string(kCant) + "it has control characters, such as a line break");
    if (trimmed(name) != name) refuse(std::string(kCant) + "it has blanks at its ends, which are not read");
    if (!windows1252FromUtf8(name))
      refuse(std::string(kCant) + "it has letters outside Windows-1252, in which the file is written");
  }

  TrialTiming timing() const { return {rate(), m_record.preTrigSamples}; }
  double rate() const {
    if (!std::isfinite(m_record.sampleRate) || m_record.sampleRate <= 0.0)
      refuse("has no sample rate: seconds are no samples");
    return m_record.sampleRate;
  }

 private:
  [[noreturn]] void refuse(const std::string& why) const {
    throw Error(ErrorKind::refused, m_recording.resourceFile(), why);
  }

  void requireTrial(int trial) const {
    if (trial < 0 || trial >= m_record.numTrials)
      refuse("has no trial " + std::to_string(trial) + ": there are trials 0 to " +
             std::to_string(m_record.numTrials - 1));
  }

  static std::string text(double seconds) { return output::brief(seconds); }

  const Recording& m_recording;
  const Marks& m_marks;
  const RecordInfo& m_record;
};

/// A file before and after.
struct MarkedFile {
  std::string name, backup;
  bool isThere = false;
  std::string before{};
  Marked after{};
};

/// The files of a dataset that marks change.
class MarkedFiles {
 public:
  explicit MarkedFiles(const fs::path& resourceFile) : m_directory(resourceFile.parent_path()) {}

  fs::path pathOf(const std::string& name) const { return m_directory / name; }

  /// The file as it is, empty where there is none.
  MarkedFile read(const std::string& name, const std::string& backup) const {
    MarkedFile file{.name = name, .backup = backup};
    // One that can't be looked at is there, too: it must not be replaced.
    file.isThere = ctfmeg::isThere(reachable(pathOf(name)));
    if (!file.isThere) return file;
    file.before = bytesOf(pathOf(name));
    if (isUtf16(linesOf(file.before))) refuse(name, "is UTF-16 text, not 8-bit text, and is not changed");
    return file;
  }

  void add(MarkedFile file, std::optional<Marked> after, const char* why) {
    if (!after) refuse(file.name, why);
    file.after = *std::move(after);
    m_files.push_back(std::move(file));
  }

  [[noreturn]] void refuse(const std::string& name, const std::string& why) const {
    throw Error(ErrorKind::refused, pathOf(name), why);
  }

  /// Writes those that change. One that fails leaves those before it changed, and valid. Of what a reader
  /// noticed, reports what is about these files.
  CopyReport write(const std::vector<Finding>& noticed) const {
    CopyReport report;
    std::string changed;
    for (const MarkedFile& file : m_files) {
      std::copy_if(noticed.begin(), noticed.end(), std::back_inserter(report.warnings),
                   [&](const Finding& finding) {
                     return pathFromText(finding.file).filename() == pathFromText(file.name);
                   });
      for (const std::string& text : file.after.there)
        report.warnings.push_back({.severity = Finding::Severity::remark,
                                   .code = wordOf(Code::markThere),
                                   .file = textOf(pathOf(file.name)),
                                   .text = text});
      if (file.after.changes.empty()) continue;
      if (file.isThere) replace(file.backup, file.before, changed);
      replace(file.name, file.after.bytes, changed);
      append(report.changes, file.name, file.after.changes);
      changed += (changed.empty() ? "" : " and ") + file.name;
    }
    return report;
  }

 private:
  void replace(const std::string& name, const std::string& bytes, const std::string& changed) const {
    const fs::path path = pathOf(name);
    std::error_code unknown, ignored;
    const fs::file_status before = fs::status(reachable(path), unknown);
    try {
      output::ResultFile file(reachable(path), name);
      file.write(std::as_bytes(std::span(bytes)));
      file.commit();
    } catch (const output::WriteError& error) {
      throw Error(ErrorKind::notWritten, path,
                  error.what() + (changed.empty() ? "" : "; " + changed + " changed before that"));
    }
    if (fs::is_regular_file(before)) fs::permissions(reachable(path), before.permissions(), ignored);
  }

  fs::path m_directory;
  std::vector<MarkedFile> m_files;
};

constexpr const char *kMarkerFile = "MarkerFile.mrk", *kMarkersBefore = "MarkerFile.mrk.bak";

struct NamedBytes {
  std::string name, bytes;
};

/// What a marker file is to begin from: its own content, or where it has no marker that of the file that its
/// readers go on to; else what says that there is none.
NamedBytes markersToBeginFrom(const MarkedFiles& files, const MarkedFile& file, const std::string& name) {
  const MarkerCounts here = markersIn(file.before);
  if (here.hasMarkers) return {kMarkerFile, file.before};
  const MarkedFile other = files.read(kMarkersBefore, "");
  if (markersIn(other.before).hasMarkers) return {kMarkersBefore, other.before};
  if (!here.isUnderstood) files.refuse(kMarkerFile, "is not understood as a marker file, and is not changed");
  const bool isBlank = file.before.find_first_not_of(" \t\r\n") == std::string::npos;
  return {kMarkerFile, isBlank ? emptyMarkerFile(name + ".ds") : file.before};
}

}  // namespace
}  // namespace ctfmeg::edit

namespace ctfmeg {
inline namespace v1 {

CopyReport markDataset(const std::filesystem::path& dataset, const Marks& marks) {
  using namespace edit;
  const Recording recording = Recording::open(dataset);
  const MarkRequest request(recording, marks);
  MarkedFiles files(recording.resourceFile());
  const std::set<int> bad = request.channels(marks.bad), good = request.channels(marks.good);
  for (const int place : bad)
    if (good.contains(place))
      throw Error(ErrorKind::refused, recording.resourceFile(),
                  "can't have " + recording.channels()[static_cast<std::size_t>(place)].name +
                      " marked as bad and as good at once");
  if (!bad.empty() || !good.empty()) {
    MarkedFile file = files.read("BadChannels", "BadChannels.bak");
    auto after = markChannels(file.before, recording.channels(), bad, good);
    files.add(std::move(file), std::move(after), "can't tell channels of one name from each other");
  }
  if (!marks.badSegments.empty()) {
    request.requireSegments();
    MarkedFile file = files.read("bad.segments", "bad.segments.bak");
    Marked after = addBadSegments(file.before, marks.badSegments, request.rate());
    files.add(std::move(file), std::move(after), "");
  }
  if (!marks.marker.empty() || !marks.occurrences.empty()) {
    request.requireMarkerName();
    const auto samples = request.samples();
    MarkedFile file = files.read(kMarkerFile, "MarkerFile.mrk.1.bak");
    const auto [from, bytes] = markersToBeginFrom(files, file, recording.name());
    Marked after = addOccurrences(bytes, marks.marker, samples, request.timing(), files.pathOf(from));
    files.add(std::move(file), std::move(after), "");
  }
  return files.write(recording.warnings());
}

}  // namespace v1
}  // namespace ctfmeg
