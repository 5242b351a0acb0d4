#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace ctfmeg {

/// A thread that works for its caller and that no signal of the process is delivered to: those are the
/// host's. Throws std::system_error when the system has none left.
std::thread startBackgroundThread(const std::function<void()>& work);

/// Processors that this process may use: those it may run on, and no more than its control group pays for.
/// At least 1.
int usableProcessors();

/// Number of this process, which a fork of it does not share.
std::int64_t processNumber();

/// As many as pay, where nobody says how many threads there should be; 0: as many as pay on this machine, as
/// it is at first.
void setThreads(int threads);

/// While a process is forked `mutex` is held, so that the fork finds it free; it must outlive the process.
/// For one mutex.
void holdWhileForking(std::mutex& mutex);

/// As long as it lives, long work on its thread asks it now and then whether to stop, and throws what it
/// throws.
class StopCheck {
 public:
  explicit StopCheck(std::function<void()> ask);
  StopCheck(const StopCheck&) = delete;
  StopCheck& operator=(const StopCheck&) = delete;
  ~StopCheck();

  /// Asks the one of this thread, where there is one and some time has gone by since it was asked last.
  static void ask();

 private:
  std::function<void()> m_ask;
  std::chrono::steady_clock::time_point m_asked;
  StopCheck* m_before;
};

/// Threads that do one work together. They begin with the first work and end with the object. A process that
/// is forked in between has none of them: there the caller's thread works alone.
class Workers {
 public:
  /// `threads` in all, the caller's included; 0: as many as `setThreads` says.
  explicit Workers(int threads = 0);
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;
  ~Workers();

  /// Calls `work` on each thread at once and returns when all have returned; `work` divides itself among
  /// those who call it. Where another work is being done, or the system has no threads left, the caller's
  /// thread does it alone. An exception of one is thrown again; of several, the first.
  void run(const std::function<void()>& work);

 private:
  class Crew;

  int m_threads;
  std::mutex m_inUse;            // for what follows
  std::unique_ptr<Crew> m_crew;  // once there was work
  int m_crewThreads = 0;         // of it
  std::int64_t m_process = 0;    // that it belongs to
};

/// Calls `work(i, room)` for each i from 0 to before `count`, in any order, by workers that each have a
/// `Room` of their own. What one throws ends the others and is thrown again.
template <class Room, class Work>
void shareOut(Workers& workers, std::int64_t count, Work work) {
  std::atomic<std::int64_t> next = 0;
  const auto takeTurns = [&] {
    Room room;
    try {
      for (std::int64_t i = 0; (i = next++) < count;)
        work(i, room);
    } catch (...) {
      next = count;
      throw;
    }
  };
  if (count > 1)
    workers.run(takeTurns);
  else
    takeTurns();
}

}  // namespace ctfmeg
