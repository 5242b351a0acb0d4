#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "cli/json.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "output/numbers.h"
#include "output/table.h"
#include "output/visible_text.h"
#include "recording/catalog.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

namespace fs = std::filesystem;

using output::csvText;
using output::shortest;
using output::visible;

// Reading their headers.

/// A dataset that was found, read or not: its record and its warnings.
struct ScannedDataset {
  ShownDataset dataset;
  std::int64_t bytes = 0;  ///< of the files in its directory
};

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

/// Reads one header. What goes wrong is in the result.
ScannedDataset scanDataset(const fs::path& directory, Rules rules) {
  const std::string path = textOf(directory);
  const auto failed = [&](const std::string& text) {
    return describe(path, {ErrorKind::damaged, directory, text});
  };
  ScannedDataset scanned{{}, bytesOfFilesIn(directory)};
  try {
    scanned.dataset = describeRecord(path, Recording::open(directory, {.rules = rules}));
  } catch (const Error& error) {
    scanned.dataset = describe(path, error);
  } catch (const std::bad_alloc&) {
    scanned.dataset = failed("needs more memory than there is");
  } catch (const std::exception& error) {
    scanned.dataset = failed(error.what());
  }
  return scanned;
}

/// Seconds of all trials together; 0 without a sample rate.
double durationOf(const RecordInfo& record) {
  const double seconds = static_cast<double>(record.numTrials) * record.samplesPerTrial / record.sampleRate;
  return std::isfinite(seconds) && seconds > 0.0 ? seconds : 0.0;
}

/// Reads headers on several threads and hands them over in their order.
class HeaderReaders {
 public:
  HeaderReaders(const std::vector<fs::path>& datasets, Rules rules)
      : m_datasets(datasets), m_rules(rules), m_scanned(datasets.size()) {
    // Most of the time is spent waiting for a disk or a network.
    const std::size_t threads = std::min<std::size_t>(8, datasets.size());
    m_threads.reserve(threads);
    try {
      for (std::size_t i = 0; i < threads; ++i)
        m_threads.emplace_back([this] { readNext(); });
    } catch (const std::exception&) {
      // The threads that could be started do all of the work.
    }
  }
  HeaderReaders(const HeaderReaders&) = delete;
  HeaderReaders& operator=(const HeaderReaders&) = delete;
  ~HeaderReaders() {
    m_stopped = true;
    for (std::thread& thread : m_threads)
      thread.join();
  }

  /// Dataset `index`. Throws Interrupted after Ctrl-C.
  ScannedDataset wait(std::size_t index) {
    if (m_threads.empty()) readNext();
    std::unique_lock lock(m_mutex);
    while (!m_scanned[index].has_value()) {
      stopIfInterrupted();
      m_ready.wait_for(lock, std::chrono::milliseconds(100));
    }
    return *std::exchange(m_scanned[index], std::nullopt);
  }

 private:
  void readNext() {
    for (std::size_t i = 0; !m_stopped && !interrupted() && (i = m_next++) < m_datasets.size();) {
      ScannedDataset scanned = scanDataset(m_datasets[i], m_rules);
      {
        const std::lock_guard lock(m_mutex);
        m_scanned[i] = std::move(scanned);
      }
      m_ready.notify_one();
    }
  }

  const std::vector<fs::path>& m_datasets;
  Rules m_rules;
  std::vector<std::optional<ScannedDataset>> m_scanned;
  std::atomic<std::size_t> m_next{0};
  std::atomic<bool> m_stopped{false};
  std::mutex m_mutex;
  std::condition_variable m_ready;
  std::vector<std::thread> m_threads;
};

// Showing them.

/// Prints datasets in the form that the options ask for.
class ScanPrinter {
 public:
  explicit ScanPrinter(const ScanOptions& options) : m_options(options), m_json(std::cout) {
    if (options.csv)
      std::cout << output::csvLine({"path", "subject", "date", "time", "channels", "trials",
                                    "samplesPerTrial", "sampleRate", "durationSeconds", "bytes", "status",
                                    "error"});
    else if (!options.json)
      m_rows.push_back(
          {"dataset", "subject", "date", "channels", "trials", "rate (Hz)", "seconds", "size", ""});
  }

  void add(const ShownDataset& dataset, std::int64_t bytes) {
    if (m_options.json)
      m_json.add(dataset, durationOf(dataset.record), bytes);
    else if (m_options.csv)
      std::cout << output::csvLine(csvCells(dataset, bytes));
    else
      m_rows.push_back(tableCells(dataset, bytes));
  }

  void end() {
    if (m_options.json) m_json.end();
    if (m_rows.size() > 1) output::writeTable(std::cout, m_rows);
    if (m_rows.size() == 1) std::cout << "no datasets\n";
  }

 private:
  static std::vector<std::string> csvCells(const ShownDataset& dataset, std::int64_t bytes) {
    const RecordInfo& record = dataset.record;
    if (dataset.error)
      return {csvText(dataset.path),         "", "", "", "", "", "", "", "", std::to_string(bytes), "error",
              csvText(dataset.error->reason)};
    return {csvText(dataset.path),
            csvText(record.subjectId),
            csvText(record.dataDate),
            csvText(record.dataTime),
            std::to_string(record.numChannels),
            std::to_string(record.numTrials),
            std::to_string(record.samplesPerTrial),
            std::isfinite(record.sampleRate) ? shortest(record.sampleRate) : "",
            shortest(durationOf(record)),
            std::to_string(bytes),
            "ok",
            ""};
  }

  static std::vector<std::string> tableCells(const ShownDataset& dataset, std::int64_t bytes) {
    const RecordInfo& record = dataset.record;
    const std::string path = visible(dataset.path), size = output::bytes(bytes);
    if (dataset.error) return {path, "", "", "", "", "", "", size, visible(dataset.error->reason)};
    return {path,
            visible(record.subjectId),
            visible(record.dataDate),
            std::to_string(record.numChannels),
            std::to_string(record.numTrials) + " x " + std::to_string(record.samplesPerTrial),
            output::rounded(record.sampleRate),
            output::rounded(durationOf(record)),
            size,
            ""};
  }

  const ScanOptions& m_options;
  ScanJson m_json;
  output::Rows m_rows;
};

/// A folder's name may be a person's; a dataset's own name may be shown.
std::string shownFolder(const std::string& path, const ReadingOptions& options) {
  return options.noIdentity && !path.ends_with(".ds") ? "a folder" : shown(path, options);
}

/// The directory to scan. Throws CommandError when it is none.
fs::path directoryOf(const ScanOptions& options) {
  fs::path directory = pathFromText(options.directory);
  std::error_code failed;
  const fs::file_status status = fs::status(directory, failed);
  if (!fs::exists(status))
    failed = std::make_error_code(std::errc::no_such_file_or_directory);
  else if (!fs::is_directory(status))
    failed = std::make_error_code(std::errc::not_a_directory);
  if (failed)
    throw CommandError(shownFolder(options.directory, options.reading),
                       "can't be scanned: " + failed.message());
  return directory;
}

/// All headers, with a bar for as long as it takes: nothing else is written meanwhile.
std::vector<ScannedDataset> scanAll(const std::vector<fs::path>& datasets, const ScanOptions& options) {
  const std::string title = "Scanning " + visible(shownFolder(options.directory, options.reading));
  const auto bar = options.reading.quiet ? nullptr : openProgressBar(title);
  HeaderReaders readers(datasets, options.reading.rules);
  std::vector<ScannedDataset> all;
  for (std::size_t i = 0; i < datasets.size(); ++i) {
    all.push_back(readers.wait(i));
    if (bar) bar->show(static_cast<double>(i + 1), static_cast<double>(datasets.size()));
  }
  return all;
}

/// On standard error: why a dataset could not be read, or the first of its warnings.
void sayOf(const ShownDataset& dataset) {
  if (dataset.error) return say(dataset.path, dataset.error->reason);
  if (dataset.warningCodes.empty()) return;
  const auto& findings = dataset.findings;
  const auto first = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.severity != Finding::Severity::remark;
  });
  const std::size_t others = dataset.warningCodes.size() - 1;
  say(dataset.path,
      "warning: " + (first == findings.end() ? "see info" : lastName(first->file) + " " + first->text) +
          (others > 0 ? "; and " + std::to_string(others) + " more" : ""));
}

}  // namespace

int runScan(const ScanOptions& options) {
  const Catalog found = findDatasets(directoryOf(options), interrupted);
  stopIfInterrupted();
  for (const Catalog::Problem& problem : found.problems)
    say(shownFolder(textOf(problem.path), options.reading), problem.text);
  std::vector<ScannedDataset> all = scanAll(found.datasets, options);

  bool worthFailing = !found.problems.empty();
  ScanPrinter printer(options);
  for (ScannedDataset& scanned : all) {
    const ShownDataset dataset = shown(std::move(scanned.dataset), options.reading);
    printer.add(dataset, scanned.bytes);
    sayOf(dataset);
    if (dataset.error || (!dataset.warningCodes.empty() && options.reading.strict)) worthFailing = true;
  }
  printer.end();
  finishOutput();
  return worthFailing ? kFailed : kDone;
}

}  // namespace ctfmeg::cli
