#include "base/threads.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

namespace ctfmeg {

Workers::~Workers() {
  {
    const std::lock_guard lock(m_mutex);
    m_over = true;
  }
  m_begin.notify_all();
  for (std::thread& helper : m_helpers)
    helper.join();
}

void Workers::start() {
  constexpr int kMostThatPay = 4;  // more find the memory busy
  m_started = true;
  const int threads = m_threads > 0 ? m_threads : std::min(usableProcessors(), kMostThatPay);
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

void Workers::run(const std::function<void()>& work) {
  const std::unique_lock inUse(m_inUse, std::try_to_lock);
  if (!inUse) return work();
  if (!m_started) start();
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

void Workers::help() {
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

void Workers::doWork() {
  try {
    (*m_work)();
  } catch (...) {
    const std::lock_guard lock(m_mutex);
    if (m_failed == nullptr) m_failed = std::current_exception();
  }
}

}  // namespace ctfmeg
