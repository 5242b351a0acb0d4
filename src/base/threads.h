#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ctfmeg {

/// A thread that works for its caller and that no signal of the process is delivered to: those are the
/// host's. Throws std::system_error when the system has none left.
std::thread startBackgroundThread(const std::function<void()>& work);

/// Processors that this process may use: those it may run on, and no more than its control group pays for.
/// At least 1.
int usableProcessors();

/// Threads that do one work together. They begin with the first work and end with the object; a process that
/// is forked in between has none of them and must not use it.
class Workers {
 public:
  /// `threads` in all, the caller's included; 0: as many as pay on this machine.
  explicit Workers(int threads = 0) : m_threads(threads) {}
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;
  ~Workers();

  /// Calls `work` on each thread at once and returns when all have returned; `work` divides itself among
  /// those who call it. Where another work is being done, or the system has no threads left, the caller's
  /// thread does it alone. An exception of one is thrown again; of several, the first.
  void run(const std::function<void()>& work);

 private:
  void start();
  void help();
  void doWork();

  int m_threads;
  std::vector<std::thread> m_helpers;
  bool m_started = false;
  std::mutex m_inUse;

  std::mutex m_mutex;  // for what follows
  std::condition_variable m_begin, m_end;
  const std::function<void()>* m_work = nullptr;
  std::uint64_t m_works = 0;  // begun so far
  bool m_open = false;        // whether helpers may still join
  int m_helping = 0;
  bool m_over = false;
  std::exception_ptr m_failed;
};

}  // namespace ctfmeg
