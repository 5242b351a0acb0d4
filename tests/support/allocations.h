#pragma once

#include <cstddef>
#include <cstdint>

// Memory that this program has from operator new.

std::size_t bytesAllocated();

/// While it lives, the most memory that is held at once is noted.
class PeakOfMemory {
 public:
  PeakOfMemory();
  std::size_t bytes() const;  ///< beyond what was held when it was made

 private:
  std::size_t m_before;
};

/// While it lives, some allocations fail: null from nothrow new, std::bad_alloc else.
class FailingNew {
 public:
  /// Those of at least `bytes`.
  explicit FailingNew(std::size_t bytes);
  /// The one numbered `number`, from 1; or that one and all after it.
  static FailingNew nth(std::int64_t number);
  static FailingNew from(std::int64_t number);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();

  /// Whether one has failed.
  bool happened() const;
};
