#include <algorithm>
#include <cmath>
#include <new>
#include <system_error>

#include "cli/identity.h"
#include "cli/process.h"
#include "cli/scan.h"
#include "host/path_text.h"

namespace ctfmeg::cli {
namespace {

namespace fs = std::filesystem;

bool isDataset(const fs::path& path) { return path.extension() == ".ds"; }

std::int64_t bytesOfFilesIn(const fs::path& directory) {
  std::int64_t bytes = 0;
  std::error_code failed;
  fs::directory_iterator entry(directory, failed);
  for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
    std::error_code unknown;
    const std::uintmax_t size = entry->is_regular_file(unknown) ? entry->file_size(unknown) : 0;
    if (!unknown) bytes += static_cast<std::int64_t>(size);
  }
  return bytes;
}

ScannedHeader headerOf(const Recording& recording) {
  const RecordInfo& record = recording.record();
  ScannedHeader header{record.subjectId, record.dataDate,        record.dataTime,   record.numChannels,
                       record.numTrials, record.samplesPerTrial, record.sampleRate, 0.0};
  const double seconds = static_cast<double>(record.numTrials) * record.samplesPerTrial / record.sampleRate;
  if (std::isfinite(seconds) && seconds > 0.0) header.durationSeconds = seconds;
  return header;
}

}  // namespace

FoundDatasets findDatasets(const fs::path& directory) {
  FoundDatasets found;
  // A directory that is named without its name, such as ".", may be a dataset all the same.
  std::error_code unknown;
  const fs::path itself = fs::canonical(directory, unknown);
  const fs::path given = directory.has_filename() ? directory : directory.parent_path();
  if (isDataset(given) || (!unknown && isDataset(itself))) found.datasets.push_back(directory);
  std::vector<fs::path> open{directory};
  while (!open.empty()) {
    stopIfInterrupted();
    const fs::path here = std::move(open.back());
    open.pop_back();
    std::error_code failed;
    fs::directory_iterator entry(here, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
      std::error_code gone;
      if (!entry->is_directory(gone)) {
        if (entry->is_symlink() && isDataset(entry->path()) && !entry->exists(gone))
          found.problems.push_back({textOf(entry->path()), "leads nowhere"});
        continue;
      }
      if (isDataset(entry->path())) found.datasets.push_back(entry->path());
      if (!entry->is_symlink(gone)) open.push_back(entry->path());
    }
    if (failed) found.problems.push_back({textOf(here), "can't be listed: " + failed.message()});
  }
  std::sort(found.datasets.begin(), found.datasets.end());
  return found;
}

ScannedDataset scanDataset(const fs::path& dataset, Rules rules) {
  ScannedDataset scanned;
  scanned.path = textOf(dataset);
  scanned.bytes = bytesOfFilesIn(dataset);
  try {
    const Recording recording = Recording::read(dataset, {.rules = rules, .samples = false});
    scanned.header = headerOf(recording);
    scanned.warnings = recording.warnings();
    std::erase_if(scanned.warnings,
                  [](const Finding& finding) { return finding.severity == Finding::Severity::remark; });
  } catch (const Error& error) {
    scanned.error = reasonOf(scanned.path, error);
  } catch (const std::bad_alloc&) {
    scanned.error = "needs more memory than there is";
  } catch (const std::exception& error) {
    scanned.error = error.what();
  }
  return scanned;
}

}  // namespace ctfmeg::cli
