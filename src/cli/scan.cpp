#include "cli/scan.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <functional>
#include <iostream>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "cli/commands.h"
#include "cli/csv.h"
#include "cli/identity.h"
#include "cli/json_output.h"
#include "cli/number_text.h"
#include "cli/process.h"
#include "cli/say.h"
#include "cli/table.h"
#include "cli/visible_text.h"
#include "host/path_text.h"
#include "ui/terminal.h"

namespace ctfmeg::cli {
namespace {

namespace fs = std::filesystem;

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
      // Fewer do as well.
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

/// Prints datasets in the form that the options ask for.
class ScanPrinter {
 public:
  explicit ScanPrinter(const ScanOptions& options) : m_options(options), m_json(std::cout) {
    if (options.csv)
      std::cout << csvLine({"path", "subject", "date", "time", "channels", "trials", "samplesPerTrial",
                            "sampleRate", "durationSeconds", "bytes", "status", "error"});
    else if (!options.json)
      m_rows.push_back(
          {"dataset", "subject", "date", "channels", "trials", "rate (Hz)", "seconds", "size", ""});
  }

  void add(const ScannedDataset& scanned) {
    if (m_options.json)
      m_json.add(scanned, m_options.reading.noIdentity);
    else if (m_options.csv)
      std::cout << csvLine(csvCells(scanned));
    else
      m_rows.push_back(tableCells(scanned));
  }

  void end() {
    if (m_options.json) m_json.end();
    if (m_rows.size() > 1) printTable(m_rows);
    if (m_rows.size() == 1) std::cout << "no datasets\n";
  }

 private:
  std::string personal(const std::string& text) const { return m_options.reading.noIdentity ? "" : text; }
  std::string shown(const ScannedDataset& scanned) const {
    return shownPath(scanned.path, m_options.reading.noIdentity);
  }

  std::vector<std::string> csvCells(const ScannedDataset& scanned) const {
    std::vector<std::string> cells{csvText(shown(scanned))};
    if (const auto& header = scanned.header) {
      cells.insert(cells.end(), {csvText(personal(header->subject)), csvText(personal(header->date)),
                                 csvText(personal(header->time)), std::to_string(header->channels),
                                 std::to_string(header->trials), std::to_string(header->samplesPerTrial),
                                 std::isfinite(header->sampleRate) ? shortest(header->sampleRate) : "",
                                 shortest(header->durationSeconds)});
    } else {
      cells.resize(cells.size() + 8);
    }
    cells.insert(cells.end(),
                 {std::to_string(scanned.bytes), scanned.header ? "ok" : "error", csvText(scanned.error)});
    return cells;
  }

  std::vector<std::string> tableCells(const ScannedDataset& scanned) const {
    const std::string path = visible(shown(scanned));
    if (!scanned.header) return {path, "", "", "", "", "", "", bytes(scanned.bytes), visible(scanned.error)};
    const ScannedHeader& header = *scanned.header;
    return {path,
            visible(personal(header.subject)),
            visible(personal(header.date)),
            std::to_string(header.channels),
            std::to_string(header.trials) + " x " + std::to_string(header.samplesPerTrial),
            rounded(header.sampleRate),
            rounded(header.durationSeconds),
            bytes(scanned.bytes),
            ""};
  }

  const ScanOptions& m_options;
  JsonLines m_json;
  std::vector<std::vector<std::string>> m_rows;
};

/// A folder's name may be a person's; a dataset's own name may be shown.
std::string shownFolder(const std::string& path, bool noIdentity) {
  return noIdentity && !path.ends_with(".ds") ? "a folder" : shownPath(path, noIdentity);
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
    throw CommandError(shownFolder(options.directory, options.reading.noIdentity),
                       "can't be scanned: " + failed.message());
  return directory;
}

/// All headers, with a bar for as long as it takes: nothing else is written meanwhile.
std::vector<ScannedDataset> scanAll(const std::vector<fs::path>& datasets, const ScanOptions& options) {
  const std::string title = "Scanning " + visible(shownFolder(options.directory, options.reading.noIdentity));
  const auto bar = options.reading.quiet ? nullptr : openTerminalBar(title);
  if (bar) bar->setRange(0, static_cast<int>(datasets.size()));
  HeaderReaders readers(datasets, options.reading.rules);
  std::vector<ScannedDataset> all;
  for (std::size_t i = 0; i < datasets.size(); ++i) {
    all.push_back(readers.wait(i));
    if (bar) bar->setPosition(static_cast<int>(i + 1));
  }
  return all;
}

/// On standard error: why a dataset could not be read, or the first of its warnings.
void sayOf(const ScannedDataset& scanned, const ReadingOptions& reading) {
  const std::string path = shownPath(scanned.path, reading.noIdentity);
  if (!scanned.header) return say(path, scanned.error);
  if (scanned.warnings.empty()) return;
  const Finding& first = scanned.warnings.front();
  const std::size_t others = scanned.warnings.size() - 1;
  say(path,
      "warning: " +
          (mayBeShown(first, reading.noIdentity) ? lastName(first.file) + " " + first.text : "see info") +
          (others > 0 ? "; and " + std::to_string(others) + " more" : ""));
}

}  // namespace

int runScan(const ScanOptions& options) {
  const ReadingOptions& reading = options.reading;
  const FoundDatasets found = findDatasets(directoryOf(options));
  for (const auto& problem : found.problems)
    say(shownFolder(problem.path, reading.noIdentity), problem.text);
  const std::vector<ScannedDataset> all = scanAll(found.datasets, options);

  bool worthFailing = !found.problems.empty();
  ScanPrinter printer(options);
  for (const ScannedDataset& scanned : all) {
    printer.add(scanned);
    sayOf(scanned, reading);
    if (!scanned.header || (!scanned.warnings.empty() && reading.strict)) worthFailing = true;
  }
  printer.end();
  finishOutput();
  return worthFailing ? kFailed : kDone;
}

}  // namespace ctfmeg::cli
