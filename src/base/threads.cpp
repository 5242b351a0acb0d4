#include "base/threads.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

namespace ctfmeg {
namespace {

std::atomic<int> threadsWhereNobodySays = 0;

thread_local StopCheck* stopCheck = nullptr;

}  // namespace

void setThreads(int threads) { threadsWhereNobodySays = threads; }

StopCheck::StopCheck(std::function<void()> ask)
    : m_ask(std::move(ask)), m_asked(std::chrono::steady_clock::now()), m_before(stopCheck) {
  stopCheck = this;
}

StopCheck::~StopCheck() { stopCheck = m_before; }

void StopCheck::ask() {
  constexpr std::chrono::milliseconds kBetween{50};
  if (stopCheck == nullptr) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - stopCheck->m_asked < kBetween) return;
  stopCheck->m_asked = now;
  stopCheck->m_ask();
}

/// The threads beside the caller's.
class Workers::Crew {
 public:
  explicit Crew(int threads);
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;
  ~Crew();

  void run(const std::function<void()>& work);

 private:
  void help();
  void doWork();

  std::vector<std::thread> m_helpers;
  std::mutex m_mutex;  // for what follows
  std::condition_variable m_begin, m_end;
  const std::function<void()>* m_work = nullptr;
  std::uint64_t m_works = 0;  // begun so far
  bool m_open = false;        // whether helpers may still join
  int m_helping = 0;
  bool m_over = false;
  std::exception_ptr m_failed;
};

Workers::Crew::Crew(int threads) {
  try {
    m_helpers.reserve(static_cast<std::size_t>(threads));  // so that no thread that began is dropped
    for (int i = 1; i < threads; ++i)
      m_helpers.push_back(startBackgroundThread([this] { help(); }));
  } catch (const std::system_error&) {
    // The threads that there are do the work.
  } catch (const std::bad_alloc&) {
    // Likewise.
  }
}

Workers::Crew::~Crew() {
  {
    const std::lock_guard lock(m_mutex);
    m_over = true;
  }
  m_begin.notify_all();
  for (std::thread& helper : m_helpers)
    helper.join();
}

void Workers::Crew::run(const std::function<void()>& work) {
  {
    const std::lock_guard lock(m_mutex);
    m_work = &work;
    m_failed = nullptr;
    m_open = true;
    ++m_works;
  }
  m_begin.notify_all();
  doWork();
  std::unique_lock lock(m_mutex);
  m_open = false;
  m_end.wait(lock, [this] { return m_helping == 0; });
  if (m_failed != nullptr) std::rethrow_exception(std::exchange(m_failed, nullptr));
}

void Workers::Crew::help() {
  std::uint64_t seen = 0;
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_begin.wait(lock, [&] { return m_over || (m_open && m_works != seen); });
    if (m_over) return;
    seen = m_works;
    ++m_helping;
    lock.unlock();
    doWork();
    lock.lock();
    if (--m_helping == 0) m_end.notify_one();
  }
}

void Workers::Crew::doWork() {
  try {
    (*m_work)();
  } catch (...) {
    const std::lock_guard lock(m_mutex);
    if (m_failed == nullptr) m_failed = std::current_exception();
  }
}

Workers::Workers(int threads) : m_threads(threads) {}

Workers::~Workers() {
  // What waits for threads that are not there would wait for ever.
  if (m_process != processNumber()) static_cast<void>(m_crew.release());
}

void Workers::run(const std::function<void()>& work) {
  constexpr int kMostThatPay = 4;  // more find the memory busy
  const std::unique_lock inUse(m_inUse, std::try_to_lock);
  if (!inUse) return work();
  const int wanted = m_threads > 0 ? m_threads : threadsWhereNobodySays.load();
  if (wanted == 1) return work();
  if (m_crew == nullptr) m_process = processNumber();
  if (m_process != processNumber()) return work();
  if (m_crew == nullptr || m_crewThreads != wanted) {
    m_crew = std::make_unique<Crew>(wanted > 0 ? wanted : std::min(usableProcessors(), kMostThatPay));
    m_crewThreads = wanted;
  }
  m_crew->run(work);
}

}  // namespace ctfmeg
