#pragma once

#include <cstdint>
#include <functional>

/// While it lives, the calls by which this program opens, reads, measures and looks for files are counted,
/// and `before` is called with each: its number from 1, and the file's descriptor, or -1 where none is open.
/// What it returns is the error that the call fails with; 0 lets it through.
///
/// Works in programs whose linker wraps those calls (WRAPPED_CALLS in tests/CMakeLists.txt).
class FailingCalls {
 public:
  using Before = std::function<int(int number, int descriptor)>;

  explicit FailingCalls(Before before);
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;
  ~FailingCalls();

  int count() const;
};

/// While it lives, reading that file up to byte `from` is cut short there, and reading from it on fails, as
/// on a disk with a bad place.
class BadPlace {
 public:
  BadPlace(const char* file, std::int64_t from);
  BadPlace(const BadPlace&) = delete;
  BadPlace& operator=(const BadPlace&) = delete;
  ~BadPlace();
};
