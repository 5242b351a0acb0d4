#pragma once

#include <cstddef>

/// While it lives, allocations of at least `bytes` by this program fail: null from nothrow new,
/// std::bad_alloc else.
class FailingNew {
 public:
  explicit FailingNew(std::size_t bytes);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();
};
