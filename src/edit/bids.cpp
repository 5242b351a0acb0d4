#include <algorithm>
#include <random>
#include <system_error>

#include "base/dates.h"
#include "base/encoding.h"
#include "base/file.h"
#include "base/finding_codes.h"
#include "edit/bids_texts.h"
#include "edit/source.h"
#include "edit/staged_copy.h"
#include "edit/study_files.h"
#include "edit/system_files.h"
#include "edit/tab_separated.h"

#include <ctfmeg/edit.h>
#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace edit {
namespace {

namespace fs = std::filesystem;

/// Where a recording and what belongs to it are in a study.
struct BidsPlace {
  fs::path study;
  std::string subject;  ///< "sub-01"
  fs::path visit;       ///< the subject's folder, or that of the session
  fs::path folder;      ///< the recording's
  std::string prefix;   ///< "sub-01_ses-a", with which all of the visit's files begin
  std::string stem;     ///< "sub-01_ses-a_task-rest_run-1", with which all of the recording's files begin

  std::string name() const { return stem + "_meg.ds"; }
  fs::path dataset() const { return folder / name(); }
  fs::path of(const std::string& start, const char* rest) const { return folder / (start + rest); }
};

void requireLabel(const std::string& label, const char* what, bool digitsOnly, const fs::path& study) {
  const bool fits = std::all_of(label.begin(), label.end(), [&](char c) {
    return (c >= '0' && c <= '9') || (!digitsOnly && ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')));
  });
  if (!fits || label.empty())
    throw Error(ErrorKind::refused, study,
                std::string("can't have ") + what + " \"" + label + "\": it must be one or more " +
                    (digitsOnly ? "digits" : "letters and digits (A to Z, a to z, 0 to 9)"));
}

BidsPlace placeOf(const fs::path& study, const BidsRecording& recording) {
  requireLabel(recording.subject, "the subject", false, study);
  requireLabel(recording.task, "the task", false, study);
  if (!recording.session.empty()) requireLabel(recording.session, "the session", false, study);
  if (!recording.run.empty()) requireLabel(recording.run, "the run", true, study);
  BidsPlace place;
  place.study = study.has_filename() ? study : study.parent_path();
  place.subject = place.prefix = "sub-" + recording.subject;
  place.visit = place.study / place.subject;
  if (!recording.session.empty()) {
    place.prefix += "_ses-" + recording.session;
    place.visit /= "ses-" + recording.session;
  }
  place.folder = place.visit / "meg";
  place.stem =
      place.prefix + "_task-" + recording.task + (recording.run.empty() ? "" : "_run-" + recording.run);
  return place;
}

/// Throws `Error` for a study that would be inside of a dataset, of the one that is copied or another.
void requireOutside(const fs::path& study) {
  std::error_code unknown;
  for (const fs::path& part : fs::weakly_canonical(study, unknown))
    if (lowered(textOf(part.extension())) == ".ds")
      throw Error(ErrorKind::refused, study, "would be inside of a dataset: a study has a folder of its own");
}

/// Throws `Error` where the recording can't come to its place.
void requireFree(const BidsPlace& place) {
  if (isThere(place.dataset()))
    throw Error(
        ErrorKind::refused, place.dataset(),
        "is there already: a recording of a study is never replaced; another run or session has a place of "
        "its own");
}

/// A folder in a study that is gone with what is in it at the end. Its name begins with a dot, so that a
/// study with one that a killed program left is still one.
class StagingFolder {
 public:
  explicit StagingFolder(const BidsPlace& place)
      : m_path(place.folder / ("." + place.stem + "." + std::to_string(std::random_device()()) + ".part")) {
    std::error_code failed;
    if (!fs::create_directory(reachable(m_path), failed)) failWriting(m_path, failed);
  }
  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;
  ~StagingFolder() {
    std::error_code ignored;
    fs::remove_all(reachable(m_path), ignored);
  }

  const fs::path& path() const { return m_path; }

 private:
  fs::path m_path;
};

AnonymiseReport copyInto(const fs::path& copy, const fs::path& in, const BidsRecording& recording,
                         const ProgressFunction& progress) {
  AnonymiseReport report;
  if (!recording.anonymise) {
    static_cast<CopyReport&>(report) = renameDataset(in, copy, progress);
    return report;
  }
  Anonymising how = *recording.anonymise;
  if (how.subject.empty()) how.subject = recording.subject;
  return anonymiseDataset(in, copy, how, progress);
}

/// What is put beside a recording.
struct Sidecars {
  std::string meg, channels, events, eventsDescription, coordinates, startTime;
  std::optional<std::string> headShape;
};

/// Of the copy: what was taken out of it can't be in them.
Sidecars sidecarsOf(const fs::path& copy, const BidsPlace& place, const BidsRecording& wanted,
                    std::vector<Finding>& warnings) {
  const Recording recording = Recording::open(copy);
  requireReadable(recording.warnings());
  std::vector<Finding> ofSamples = recording.sampleWarnings();
  std::erase_if(ofSamples, [](const Finding& finding) { return finding.code == wordOf(Code::fileNotFound); });
  requireReadable(ofSamples);
  const RecordInfo& record = recording.record();
  Sidecars sidecars;
  sidecars.headShape = bytesIfThere(copy / pathFromText(recording.name() + ".pos"));
  sidecars.meg = bidsMegJson(recording, wanted);
  sidecars.channels = bidsChannels(recording);
  std::size_t leftOut = 0;
  sidecars.events = bidsEvents(recording, leftOut);
  if (leftOut > 0)
    warnings.push_back(
        {.severity = Finding::Severity::warning,
         .code = wordOf(Code::markerTrial),
         .file = textOf(place.dataset() / "MarkerFile.mrk"),
         .text = "has " + std::to_string(leftOut) +
                 " occurrences of markers in trials that the recording does not have: they are left "
                 "out of its events"});
  if (!sidecars.events.empty()) sidecars.eventsDescription = bidsEventsJson(recording);
  sidecars.coordinates =
      bidsCoordinates(recording, sidecars.headShape ? place.prefix + "_headshape.pos" : "");
  sidecars.startTime = isoDateTime(record.dataDate, record.dataTime);
  return sidecars;
}

/// A file of the recording. One that says something else is somebody's work.
void putOwn(StudyFiles& files, const fs::path& file, const std::string& bytes) {
  if (const auto there = bytesIfThere(file); there && *there != bytes)
    throw Error(ErrorKind::refused, file,
                "is there already and says something else: nothing of a study is replaced");
  files.put(file, bytes);
}

/// A file of which there is one for all recordings of a visit: it stays as it is.
void putShared(StudyFiles& files, const fs::path& file, const std::string& bytes,
               std::vector<Finding>& warnings) {
  const auto there = bytesIfThere(file);
  if (!there) return files.put(file, bytes);
  if (*there != bytes)
    warnings.push_back(
        {.severity = Finding::Severity::warning,
         .code = wordOf(Code::studyFile),
         .file = textOf(file),
         .text = "was there already and stays as it is: the positions of this recording differ, and are in "
                 "its dataset only"});
}

void putAll(StudyFiles& files, const BidsPlace& place, const Sidecars& sidecars, bool anonymous,
            std::vector<Finding>& warnings) {
  if (sidecars.headShape)
    putShared(files, place.of(place.prefix, "_headshape.pos"), *sidecars.headShape, warnings);
  putShared(files, place.of(place.prefix, "_coordsystem.json"), sidecars.coordinates, warnings);
  putOwn(files, place.of(place.stem, "_meg.json"), sidecars.meg);
  putOwn(files, place.of(place.stem, "_channels.tsv"), sidecars.channels);
  if (!sidecars.events.empty()) {
    putOwn(files, place.of(place.stem, "_events.tsv"), sidecars.events);
    putOwn(files, place.of(place.stem, "_events.json"), sidecars.eventsDescription);
  }
  const auto addRow = [&](const fs::path& table, const NamedCells& cells, bool update) {
    files.put(table, withRow(bytesIfThere(table).value_or(""), cells, update, table));
  };
  addRow(place.visit / (place.prefix + "_scans.tsv"),
         {{"filename", "meg/" + place.name()}, {"acq_time", sidecars.startTime}}, true);
  addRow(place.study / "participants.tsv", {{"participant_id", place.subject}}, false);
  const fs::path description = place.study / "dataset_description.json";
  if (!isThere(description)) {
    std::error_code failed;
    const fs::path study = fs::canonical(place.study, failed);
    if (failed) failWriting(description, failed);
    // A folder may be called after a person.
    files.put(description, bidsDescription(anonymous ? "n/a" : textOf(study.filename())));
  }
}

}  // namespace

}  // namespace edit

inline namespace v1 {

std::filesystem::path bidsPath(const std::filesystem::path& study, const BidsRecording& recording) {
  return edit::placeOf(study, recording).dataset();
}

AnonymiseReport bidsCopy(const std::filesystem::path& in, const std::filesystem::path& study,
                         const BidsRecording& recording, const ProgressFunction& progress) {
  using namespace edit;
  const BidsPlace place = placeOf(study, recording);
  requireOutside(place.study);
  requireFree(place);

  StudyFiles folders;
  folders.makeFolder(place.folder);
  const StagingFolder staging(place);
  const std::filesystem::path copy = staging.path() / place.name();
  AnonymiseReport report;
  Sidecars sidecars;
  try {
    report = copyInto(copy, in, recording, progress);
    sidecars = sidecarsOf(copy, place, recording, report.warnings);
  } catch (const Error& error) {
    // The staging folder is gone when this is read.
    const auto within = error.path().lexically_relative(staging.path());
    if (within.empty() || *within.begin() == "..") throw;
    throw Error(error.kind(), place.folder / within, error.text(), error.findings());
  }

  const StudyLock lock(place.study, [&] {
    if (progress && !progress({"Waiting for another program", 1.0}))
      throw Error(ErrorKind::stopped, study, "the copying was stopped");
  });
  StudyFiles files;
  requireFree(place);
  putAll(files, place, sidecars, recording.anonymise.has_value(), report.warnings);
  if (const auto failed = moveToNewName(copy, place.dataset()))
    throw Error(ErrorKind::notWritten, place.dataset(), "can't be put in place: " + failed.message());
  files.keep();
  folders.keep();
  return report;
}

}  // namespace v1
}  // namespace ctfmeg
