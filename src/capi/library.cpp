#include "base/threads.h"
#include "capi/failure.h"

// What is about the library as a whole.

extern "C" {

int ctfmeg_abi_version(void) { return CTFMEG_ABI_VERSION; }

const char* ctfmeg_version(void) { return CTFMEG_VERSION; }

int ctfmeg_set_threads(int threads, ctfmeg_error* error) {
  using namespace ctfmeg;
  return capi::guarded(error, [&] {
    constexpr int kMost = 1024;  // more are a mistake
    if (threads < 0 || threads > kMost) throw capi::Misuse("the number of threads must be from 0 to 1024");
    setThreads(threads);
  });
}
}
