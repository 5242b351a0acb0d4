#pragma once

#include <cstdint>
#include <functional>

/// While it lives, the calls by which this program opens, reads, measures and looks for files are counted,
/// and `before` is called with each: its number from 1, the file's descriptor, or -1 where none is open, and
/// where a read ends, else 0. What it returns is the error that the call fails with; 0 lets it through.
///
/// Works in programs whose linker wraps those calls (WRAPPED_CALLS in tests/CMakeLists.txt).
class FailingCalls {
 public:
  using Before = std::function<int(int number, int descriptor, std::int64_t end)>;

  explicit FailingCalls(Before before);
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;
  ~FailingCalls();

  int count() const;
};
