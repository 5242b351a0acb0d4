#include <functional>
#include <iostream>

#include "base/encoding.h"
#include "cli/commands.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "cli/usage.h"
#include "describe/report_json.h"
#include "output/table.h"
#include "output/visible_text.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

using output::visible;

std::string listOf(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names)
    list += (list.empty() ? "" : ", ") + name;
  return list;
}

/// What became of each file and field, for people.
void print(const CopyReport& report) {
  output::Rows rows{{"file", "field", "what became of it"}};
  for (const Change& change : report.changes) {
    const std::string times = change.count == 1 ? "" : " (" + std::to_string(change.count) + ")";
    rows.push_back({visible(change.file), change.field.empty() ? "(file)" : visible(change.field),
                    nameOf(change.what) + times});
  }
  output::writeTable(std::cout, rows);
}

void print(const AnonymiseReport& report) {
  print(static_cast<const CopyReport&>(report));
  const auto printNames = [](const char* what, const std::vector<std::string>& names) {
    if (!names.empty()) std::cout << '\n' << what << ": " << visible(listOf(names)) << '\n';
  };
  printNames("Channels that keep their names", report.channels);
  printNames("Electrodes", report.electrodes);
  printNames("Markers", report.markers);
  printNames("Classes", report.classes);
}

/// Runs a copy, and says what it did.
template <class Copy>
int runCopy(const EditOptions& options, const std::string& written, bool printed, Copy copy) {
  Session session(options.reading);
  session.attempt(options.in, [&] {
    const auto report = copy(session.progress(options.in));
    session.sayWarnings(options.in, report.warnings);
    if (options.json)
      std::cout << describe::reportJson(written, report) << '\n';
    else if (printed)
      print(report);
    finishOutput();
  });
  return session.exitCode();
}

/// A copy is a dataset, and called like one.
void requireDatasetName(const std::string& out) {
  const std::filesystem::path path = pathFromText(out);
  const std::filesystem::path last = path.has_filename() ? path : path.parent_path();
  if (lowered(textOf(last.extension())) != ".ds")
    throw UsageError(out + " does not end in .ds, as a dataset's name does");
}

}  // namespace

int runRename(const EditOptions& options) {
  requireDatasetName(options.out);
  return runCopy(options, options.out, false, [&](const ProgressFunction& progress) {
    return renameDataset(pathFromText(options.in), pathFromText(options.out), progress);
  });
}

int runAnonymise(const AnonymiseOptions& options) {
  requireDatasetName(options.out);
  return runCopy(options, options.out, true, [&](const ProgressFunction& progress) {
    return anonymiseDataset(pathFromText(options.in), pathFromText(options.out), options.how, progress);
  });
}

int runCrop(const CropOptions& options) {
  requireDatasetName(options.out);
  return runCopy(options, options.out, false, [&](const ProgressFunction& progress) {
    return cropDataset(pathFromText(options.in), pathFromText(options.out), options.part.selection, progress);
  });
}

int runMark(const MarkOptions& options) {
  return runCopy(options, options.in, false, [&](const ProgressFunction& /*progress*/) {
    return markDataset(pathFromText(options.in), options.marks);
  });
}

int runBids(const BidsOptions& options) {
  std::string written;
  return runCopy(options, written, options.recording.anonymise.has_value(),
                 [&](const ProgressFunction& progress) {
                   const auto study = pathFromText(options.out);
                   written = textOf(bidsPath(study, options.recording));
                   return bidsCopy(pathFromText(options.in), study, options.recording, progress);
                 });
}

}  // namespace ctfmeg::cli
