#include <pthread.h>
#include <unistd.h>

#include <csignal>

#include "base/encoding.h"
#include "base/threads.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {

// POSIX systems have no ANSI code page, and the locale's encoding says nothing about files written on
// Windows.
std::string utf8FromAnsi(std::string_view bytes) { return utf8FromWindows1252(bytes); }

namespace {

/// A new thread begins with what is blocked in the one that makes it.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_before);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

 private:
  sigset_t m_before{};
};

}  // namespace

std::thread startBackgroundThread(const std::function<void()>& work) {
  const SignalsBlocked blocked;
  return std::thread(work);
}

std::int64_t processNumber() { return getpid(); }

namespace {

std::mutex* heldWhileForking = nullptr;

}  // namespace

void holdWhileForking(std::mutex& mutex) {
  heldWhileForking = &mutex;
  const auto release = [] { heldWhileForking->unlock(); };
  pthread_atfork([] { heldWhileForking->lock(); }, release, release);
}

inline namespace v1 {

std::filesystem::path pathFromText(const std::string& text) { return text; }
std::string textOf(const std::filesystem::path& path) { return path.string(); }
std::filesystem::path reachable(const std::filesystem::path& path) { return path; }

}  // namespace v1
}  // namespace ctfmeg
