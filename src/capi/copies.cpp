#include <filesystem>

#include "capi/failure.h"
#include "capi/json_members.h"
#include "capi/selection_json.h"
#include "describe/report_json.h"

#include <ctfmeg/edit.h>
#include <ctfmeg/path_text.h>

// Copies of datasets with changes, and marks put into one.

namespace ctfmeg::capi {
namespace {

Anonymising anonymisingOf(const Json& json, const std::string& what) {
  constexpr std::int32_t kMostDays = 100000;  // more than any recording is old
  Members members(json, what);
  Anonymising how;
  how.subject = members.text("subject").value_or("");
  const bool keepDates = members.flag("keepDates");
  if (keepDates) how.dates = Dates::keep;
  if (const Json* days = members.find("shiftDays")) {
    constexpr const char* kMust = "a whole number of days from -100000 to 100000";
    how.dates = Dates::shift;
    how.shiftDays = wholeNumber<std::int32_t>(*days, "shiftDays", -kMostDays, kMust);
    if (how.shiftDays > kMostDays) refuse("shiftDays", kMust);
    if (keepDates) throw Misuse("dates are either shifted or kept: not both \"shiftDays\" and \"keepDates\"");
  }
  how.keep = members.names("keep").value_or(std::vector<std::string>());
  how.keepNames = members.flag("keepNames");
  members.end();
  return how;
}

BadSegment badSegmentOf(const Json& json) {
  constexpr const char* kWhat = "a bad segment";
  Members members(json, kWhat);
  const auto trial = members.number("trial", 0);
  const auto start = members.seconds("start"), end = members.seconds("end");
  members.end();
  if (!trial || !start || !end) throw Misuse("a bad segment needs \"trial\", \"start\" and \"end\"");
  return {*trial, *start * 1e3, *end * 1e3};
}

Marks::Occurrence occurrenceOf(const Json& json) {
  Members members(json, "an occurrence");
  const auto trial = members.number("trial", 0);
  const auto seconds = members.seconds("seconds");
  members.end();
  if (!trial || !seconds) throw Misuse("an occurrence needs \"trial\" and \"seconds\"");
  return {*trial, *seconds};
}

Marks marksOf(const char* text) {
  const Json json = parsed(text, "marks");
  Members members(json, "marks");
  Marks marks;
  marks.bad = members.names("bad").value_or(std::vector<std::string>());
  marks.good = members.names("good").value_or(std::vector<std::string>());
  for (const Json& segment : members.list("badSegments", "a list of objects"))
    marks.badSegments.push_back(badSegmentOf(segment));
  marks.marker = members.text("marker").value_or("");
  for (const Json& occurrence : members.list("occurrences", "a list of objects"))
    marks.occurrences.push_back(occurrenceOf(occurrence));
  members.end();
  if (marks.marker.empty() != marks.occurrences.empty())
    throw Misuse("a \"marker\" needs \"occurrences\", and these the name of a \"marker\"");
  if (marks.bad.empty() && marks.good.empty() && marks.badSegments.empty() && marks.occurrences.empty())
    throw Misuse("there is nothing to mark");
  return marks;
}

BidsRecording bidsRecordingOf(const char* text) {
  const Json json = parsed(text, "the options");
  Members members(json, "the options");
  BidsRecording recording;
  recording.subject = members.text("subject").value_or("");
  recording.task = members.text("task").value_or("");
  recording.session = members.text("session").value_or("");
  recording.run = members.text("run").value_or("");
  if (const Json* frequency = members.find("lineFrequency")) {
    constexpr const char* kMust = "a number above 0";
    if (!frequency->is_number() || !(frequency->get<double>() > 0.0)) refuse("lineFrequency", kMust);
    recording.lineFrequency = frequency->get<double>();
  }
  if (const Json* how = members.find("anonymise")) recording.anonymise = anonymisingOf(*how, "\"anonymise\"");
  members.end();
  if (recording.subject.empty() || recording.task.empty())
    throw Misuse("a recording in a study needs a \"subject\" and a \"task\"");
  return recording;
}

/// Makes a copy, or what else is done with two paths, and says what was done where somebody wants to know.
template <class Copy>
int copied(const char* dataset, const char* out, char** report, ctfmeg_error* error, Copy copy) {
  return guarded(error, [&] {
    require(dataset, "dataset");
    require(out, "out");
    std::filesystem::path written = pathFromText(out);
    const auto done = copy(pathFromText(dataset), written);
    if (report != nullptr) *report = copyOf(describe::reportJson(textOf(written), done));
  });
}

}  // namespace
}  // namespace ctfmeg::capi

using namespace ctfmeg;
using namespace ctfmeg::capi;

extern "C" {

int ctfmeg_rename(const char* dataset, const char* out, ctfmeg_progress_function progress, void* user,
                  char** report, ctfmeg_error* error) {
  return copied(dataset, out, report, error, [&](const auto& from, const auto& to) {
    return renameDataset(from, to, progressOf(progress, user));
  });
}

int ctfmeg_anonymise(const char* dataset, const char* out, const char* options,
                     ctfmeg_progress_function progress, void* user, char** report, ctfmeg_error* error) {
  return copied(dataset, out, report, error, [&](const auto& from, const auto& to) {
    const Anonymising how = anonymisingOf(parsed(options, "the options"), "the options");
    return anonymiseDataset(from, to, how, progressOf(progress, user));
  });
}

int ctfmeg_crop(const char* dataset, const char* out, const char* selection,
                ctfmeg_progress_function progress, void* user, char** report, ctfmeg_error* error) {
  return copied(dataset, out, report, error, [&](const auto& from, const auto& to) {
    return cropDataset(from, to, wantedPartOf(selection), progressOf(progress, user));
  });
}

int ctfmeg_bids(const char* dataset, const char* study, const char* options,
                ctfmeg_progress_function progress, void* user, char** report, ctfmeg_error* error) {
  return copied(dataset, study, report, error, [&](const auto& from, auto& written) {
    const BidsRecording recording = bidsRecordingOf(options);
    written = bidsPath(pathFromText(study), recording);
    return bidsCopy(from, pathFromText(study), recording, progressOf(progress, user));
  });
}

int ctfmeg_mark(const char* dataset, const char* marks, char** report, ctfmeg_error* error) {
  return copied(dataset, dataset, report, error,
                [&](const auto& path, const auto& /*out*/) { return markDataset(path, marksOf(marks)); });
}
}
