#include "support/failing_calls.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <utility>

namespace {

FailingCalls::Before beforeCall;
int calls = 0;
std::mutex oneAtATime;  // readers share a read between threads

/// Whether the call is to fail; sets errno then.
bool fails(int descriptor, std::int64_t end = 0) {
  const std::lock_guard lock(oneAtATime);
  if (!beforeCall) return false;
  const int error = beforeCall(++calls, descriptor, end);
  if (error != 0) errno = error;
  return error != 0;
}

}  // namespace

FailingCalls::FailingCalls(Before before) {
  beforeCall = std::move(before);
  calls = 0;
}
FailingCalls::~FailingCalls() { beforeCall = nullptr; }
int FailingCalls::count() const { return calls; }

// The linker's names for what a call reaches now, and for what it reached before.
// NOLINTBEGIN(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)
extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_fstat(int descriptor, struct stat* status);
int __real_lstat(const char* path, struct stat* status);
ssize_t __real_pread(int descriptor, void* buffer, size_t bytes, off_t offset);

int __wrap_open(const char* path, int flags, ...);
int __wrap_fstat(int descriptor, struct stat* status);
int __wrap_lstat(const char* path, struct stat* status);
ssize_t __wrap_pread(int descriptor, void* buffer, size_t bytes, off_t offset);

int __wrap_open(const char* path, int flags, ...) { return fails(-1) ? -1 : __real_open(path, flags); }
int __wrap_fstat(int descriptor, struct stat* status) {
  return fails(descriptor) ? -1 : __real_fstat(descriptor, status);
}
int __wrap_lstat(const char* path, struct stat* status) {
  return fails(-1) ? -1 : __real_lstat(path, status);
}
ssize_t __wrap_pread(int descriptor, void* buffer, size_t bytes, off_t offset) {
  return fails(descriptor, offset + static_cast<off_t>(bytes))
             ? -1
             : __real_pread(descriptor, buffer, bytes, offset);
}
}
// NOLINTEND(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)
