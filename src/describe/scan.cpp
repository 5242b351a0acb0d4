#include "describe/scan.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <ctfmeg/path_text.h>

namespace ctfmeg::describe {
namespace {

namespace fs = std::filesystem;

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

ScannedDataset scanDataset(const std::string& path, const ScanReading& reading) {
  const fs::path directory = pathFromText(path);
  ScannedDataset scanned{};
  const auto fail = [&](const Error& error) {
    scanned.dataset = described(path, error);
    scanned.problem = scanned.dataset.error->reason;
  };
  try {
    scanned.bytes = bytesOfFilesIn(directory);
    const Recording recording = reading.open(path);
    const std::vector<Finding> findings = reading.aboutSamples(recording);
    scanned.dataset = describedRecord(path, recording);
    scanned.dataset.add(findings);
    scanned.dataset.files = recording.sampleFiles();
    scanned.status = scanned.dataset.files->status;
    if (recording.record().samplesPerTrial < 1)
      scanned.problem = "says that a trial has no samples";
    else if (scanned.status != SampleStatus::ok && !findings.empty())
      scanned.problem = lastName(findings.back().file) + ": " + findings.back().text;
  } catch (const Error& error) {
    fail(error);
  } catch (const std::bad_alloc&) {
    fail({ErrorKind::outOfMemory, directory, "needs more memory than there is"});
  } catch (const std::exception& error) {
    fail({ErrorKind::damaged, directory, error.what()});
  }
  return scanned;
}

/// Reads datasets on several threads and hands them over in their order.
class HeaderReaders {
 public:
  HeaderReaders(const std::vector<std::string>& paths, const ScanReading& reading)
      : m_paths(paths), m_reading(reading), m_scanned(paths.size()) {
    // Most of the time is spent waiting for a disk or a network.
    const std::size_t threads = std::min<std::size_t>(8, paths.size());
    m_threads.reserve(threads);
    try {
      for (std::size_t i = 0; i < threads; ++i)
        m_threads.emplace_back([this] {
          while (!m_stopped && readNext()) {
          }
        });
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

  /// Dataset `index`; `stop` is called while it is waited for.
  template <class Stop>
  ScannedDataset wait(std::size_t index, Stop stop) {
    if (m_threads.empty()) readNext();
    std::unique_lock lock(m_mutex);
    while (!m_scanned[index].has_value()) {
      stop();
      m_ready.wait_for(lock, std::chrono::milliseconds(100));
    }
    return *std::exchange(m_scanned[index], std::nullopt);
  }

 private:
  /// False where there was none.
  bool readNext() {
    const std::size_t i = m_next++;
    if (i >= m_paths.size()) return false;
    ScannedDataset scanned = scanDataset(m_paths[i], m_reading);
    {
      const std::lock_guard lock(m_mutex);
      m_scanned[i] = std::move(scanned);
    }
    m_ready.notify_one();
    return true;
  }

  const std::vector<std::string>& m_paths;
  const ScanReading& m_reading;
  std::vector<std::optional<ScannedDataset>> m_scanned;
  std::atomic<std::size_t> m_next{0};
  std::atomic<bool> m_stopped{false};
  std::mutex m_mutex;
  std::condition_variable m_ready;
  std::vector<std::thread> m_threads;
};

}  // namespace

std::vector<ScannedDataset> scanDatasets(const std::vector<std::string>& paths, const ScanReading& reading,
                                         const std::function<bool(std::size_t read)>& goesOn) {
  std::vector<ScannedDataset> all;
  const auto stop = [&] {
    if (!goesOn(all.size())) throw Error(ErrorKind::stopped, {}, "the scan was stopped");
  };
  HeaderReaders readers(paths, reading);
  for (std::size_t i = 0; i < paths.size(); ++i) {
    all.push_back(readers.wait(i, stop));
    stop();
  }
  return all;
}

}  // namespace ctfmeg::describe
