#include <csignal>

#include "hosts/framework/background_thread.h"

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
