#include <algorithm>
#include <array>
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

#include "base/dates.h"
#include "cli/found_datasets.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "output/numbers.h"
#include "output/table_writer.h"
#include "output/visible_text.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

namespace fs = std::filesystem;

using output::Cell;

// Reading their headers.

/// A dataset that was found, read or not: its record, what its sample files hold, and its warnings.
struct ScannedDataset {
  ShownDataset dataset;
  std::int64_t bytes = 0;  ///< of the files in its directory
  SampleStatus status = SampleStatus::broken;
  std::string problem{};  ///< why the status is what it is; empty where it is ok
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

/// Reads header, side files, and beginnings and lengths of sample files. What goes wrong is in the result.
ScannedDataset scanDataset(const std::string& path, const Session& session) {
  const fs::path directory = pathFromText(path);
  ScannedDataset scanned{};
  const auto fail = [&](const Error& error) { scanned.dataset = describe::described(path, error); };
  try {
    scanned.bytes = bytesOfFilesIn(directory);
    const Recording recording = session.open(path);
    const SelectedSamples files = session.lookAt(recording);
    scanned.dataset = describe::describedRecord(path, recording);
    scanned.dataset.add(files.findings);
    scanned.dataset.files = recording.sampleFiles();
    scanned.status = scanned.dataset.files->status;
    if (recording.record().samplesPerTrial < 1)
      scanned.problem = "says that a trial has no samples";
    else if (scanned.status != SampleStatus::ok && !files.findings.empty())
      scanned.problem = lastName(files.findings.back().file) + ": " + files.findings.back().text;
  } catch (const Error& error) {
    fail(error);
  } catch (const std::bad_alloc&) {
    fail({ErrorKind::outOfMemory, directory, "needs more memory than there is"});
  } catch (const std::exception& error) {
    fail({ErrorKind::damaged, directory, error.what()});
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
  HeaderReaders(const std::vector<std::string>& datasets, const Session& session)
      : m_datasets(datasets), m_session(session), m_scanned(datasets.size()) {
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
      ScannedDataset scanned = scanDataset(m_datasets[i], m_session);
      {
        const std::lock_guard lock(m_mutex);
        m_scanned[i] = std::move(scanned);
      }
      m_ready.notify_one();
    }
  }

  const std::vector<std::string>& m_datasets;
  const Session& m_session;
  std::vector<std::optional<ScannedDataset>> m_scanned;
  std::atomic<std::size_t> m_next{0};
  std::atomic<bool> m_stopped{false};
  std::mutex m_mutex;
  std::condition_variable m_ready;
  std::vector<std::thread> m_threads;
};

// Showing them.

const std::vector<output::Column> kColumns{{"path", "dataset", output::rounded, output::kWholeText},
                                           {"subject", "subject"},
                                           {"date", nullptr},
                                           {"time", nullptr},
                                           {nullptr, "date"},
                                           {"channels", "channels"},
                                           {"trials", nullptr},
                                           {nullptr, "trials"},
                                           {"samplesPerTrial", nullptr},
                                           {"sampleRate", "rate (Hz)"},
                                           {"durationSeconds", "seconds"},
                                           {"bytes", nullptr},
                                           {nullptr, "size"},
                                           {"status", "status"},
                                           {"error", nullptr},
                                           {nullptr, "", output::rounded, output::kWholeText},
                                           {"isoDate", nullptr},
                                           {"trialsThere", nullptr}};

Cell textCell(const std::string& text) { return text.empty() ? Cell() : Cell(text); }

/// "2 x 1200", or "1 of 2 x 1200" where trials are missing.
std::string trialsForPeople(const RecordInfo& record, std::int32_t there) {
  const std::string missing = there < record.numTrials ? std::to_string(there) + " of " : "";
  return missing + std::to_string(record.numTrials) + " x " + std::to_string(record.samplesPerTrial);
}

/// What people read after the status: the reason, or that there is more to be read elsewhere.
std::string remarkOn(const ScannedDataset& scanned) {
  const std::size_t warnings = scanned.dataset.warningCodes.size();
  if (!scanned.problem.empty() || warnings == 0) return scanned.problem;
  return std::to_string(warnings) + (warnings == 1 ? " warning" : " warnings");
}

void addRow(const ScannedDataset& scanned, output::TableWriter& table) {
  const ShownDataset& dataset = scanned.dataset;
  const RecordInfo& record = dataset.record;
  const auto date = parseDate(record.dataDate);
  const std::string iso = date ? isoDate(*date) : "";
  std::vector<Cell> row{dataset.path, textCell(record.subjectId), textCell(record.dataDate),
                        textCell(record.dataTime), textCell(date ? iso : record.dataDate)};
  std::optional<std::int32_t> there;
  if (dataset.error) {
    row.resize(row.size() + 6);
  } else {
    there = dataset.files->trialsThere;
    row.emplace_back(record.numChannels);
    row.emplace_back(record.numTrials);
    row.emplace_back(trialsForPeople(record, *there));
    row.emplace_back(record.samplesPerTrial);
    row.emplace_back(record.sampleRate);
    row.emplace_back(durationOf(record));
  }
  row.emplace_back(scanned.bytes);
  row.emplace_back(output::bytes(scanned.bytes));
  row.emplace_back(nameOf(scanned.status));
  row.push_back(textCell(scanned.problem));
  row.emplace_back(remarkOn(scanned));
  row.push_back(textCell(iso));
  row.emplace_back(there);
  table.add(std::move(row));
}

/// All headers, with a bar for as long as it takes: nothing else is written meanwhile.
std::vector<ScannedDataset> scanAll(const std::vector<std::string>& datasets, const ScanOptions& options,
                                    const Session& session) {
  const std::string title =
      "Scanning " + std::to_string(datasets.size()) + (datasets.size() == 1 ? " dataset" : " datasets");
  const auto bar = options.reading.quiet ? nullptr : openProgressBar(title);
  HeaderReaders readers(datasets, session);
  std::vector<ScannedDataset> all;
  for (std::size_t i = 0; i < datasets.size(); ++i) {
    all.push_back(readers.wait(i));
    if (bar) bar->show(static_cast<double>(i + 1), static_cast<double>(datasets.size()));
  }
  return all;
}

/// " line 12", where a finding is about a line.
std::string placeWords(const Finding& finding) {
  return finding.line ? " line " + std::to_string(*finding.line) : "";
}

/// On standard error: why a dataset is not what it should be, or the first of its warnings.
void sayOf(const ScannedDataset& scanned) {
  const ShownDataset& dataset = scanned.dataset;
  if (!scanned.problem.empty()) return say(dataset.path, scanned.problem);
  if (dataset.warningCodes.empty()) return;
  const auto& findings = dataset.findings;
  const auto first = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.severity != Finding::Severity::remark;
  });
  const std::size_t others = dataset.warningCodes.size() - 1;
  say(dataset.path,
      "warning: " +
          (first == findings.end() ? "see info"
                                   : lastName(first->file) + placeWords(*first) + " " + first->text) +
          (others > 0 ? "; and " + std::to_string(others) + " more" : ""));
}

/// How many datasets have each status, and their size.
class Summary {
 public:
  void add(const ScannedDataset& scanned) {
    ++m_counts.at(static_cast<std::size_t>(scanned.status));
    m_bytes += scanned.bytes;
    if (scanned.status != SampleStatus::ok || !scanned.dataset.warningCodes.empty()) m_warned = true;
  }

  /// "12 datasets, 3.4 GB: 10 ok, 1 short, 1 broken".
  std::string sentence() const {
    int all = 0;
    std::string counts;
    for (std::size_t i = m_counts.size(); i-- > 0;) {
      all += m_counts[i];
      if (m_counts[i] == 0) continue;
      counts += (counts.empty() ? "" : ", ") + std::to_string(m_counts[i]) + " " +
                nameOf(static_cast<SampleStatus>(i));
    }
    return std::to_string(all) + (all == 1 ? " dataset, " : " datasets, ") + output::bytes(m_bytes) + ": " +
           counts;
  }

  int exitCode(bool strict) const {
    if (of(SampleStatus::broken) > 0 || (strict && m_warned)) return kFailed;
    return of(SampleStatus::noSamples) + of(SampleStatus::tooShort) + of(SampleStatus::extra) > 0 ? kOdd
                                                                                                  : kDone;
  }

 private:
  int of(SampleStatus status) const { return m_counts[static_cast<std::size_t>(status)]; }

  std::array<int, static_cast<std::size_t>(SampleStatus::ok) + 1> m_counts{};
  std::int64_t m_bytes = 0;
  bool m_warned = false;
};

}  // namespace

int runScan(const ScanOptions& options) {
  Session session(options.reading);
  const auto datasets = datasetsBelow(options.directories, session);
  std::vector<ScannedDataset> all = scanAll(datasets, options, session);

  output::TableWriter table(std::cout, options.form, kColumns);
  Summary summary;
  for (ScannedDataset& scanned : all) {
    scanned.dataset = shown(std::move(scanned.dataset), options.reading);
    if (scanned.dataset.error) scanned.problem = scanned.dataset.error->reason;
    addRow(scanned, table);
    sayOf(scanned);
    summary.add(scanned);
  }
  table.end(session.exitCode() == kDone ? "no datasets" : nullptr);
  if (options.form == output::TableForm::text && !all.empty()) std::cout << summary.sentence() << '\n';
  finishOutput();
  return session.exitCode() == kDone ? summary.exitCode(options.reading.strict) : session.exitCode();
}

}  // namespace ctfmeg::cli
