#pragma once

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include <ctfmeg/ctfmeg.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/recording.h>

// The border: what goes wrong on this side of it leaves as a number and a `ctfmeg_error`, never as an
// exception.

namespace ctfmeg::capi {

/// A caller's mistake.
class Misuse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A copy that the caller releases with ctfmeg_free(). Throws std::bad_alloc.
char* copyOf(const std::string& text);
/// Likewise, of an array of `bytes` bytes; never null.
void* copyOf(const void* array, std::size_t bytes);

/// Does `work` and returns CTFMEG_OK, or fills `error` with what it throws and returns the kind of that.
/// `about` is the file that errors are about which name none.
int guarded(ctfmeg_error* error, const std::function<void()>& work);

/// Throws Misuse where an argument is null: "`name` is null".
void require(const void* argument, const char* name);

/// What a caller gave of a struct, who may know fewer members than we do, or more.
template <class Struct>
Struct known(const Struct* given, const char* name) {
  Struct all{};
  if (given == nullptr) return all;
  if (given->size < sizeof all.size) throw Misuse(std::string(name) + " says no size");
  std::memcpy(&all, given, std::min(given->size, sizeof all));
  return all;
}

/// Runs `work`, an `Error` of which without a path is then about `file`.
template <class Work>
auto about(const std::filesystem::path& file, Work work) {
  try {
    return work();
  } catch (const Error& error) {
    if (!error.path().empty()) throw;
    throw Error(error.kind(), file, error.text(), error.findings());
  }
}

/// The kind of C for one of ours.
int kindOf(ErrorKind kind);
/// The other way round; what C alone knows counts as `damaged`.
ErrorKind kindOf(int kind);

/// Passes progress on to a callback of C, which may be null, and throws `Error` of the kind `stopped` where
/// that says so.
ProgressFunction progressOf(ctfmeg_progress_function progress, void* user);

}  // namespace ctfmeg::capi
