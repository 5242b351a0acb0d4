#pragma once

#include <cstdint>

#include <megreader/framework/cstring.h>

/// What names without a zero byte, each of which runs on through the rest of its block, may take together:
/// the names of 500 channels that all do, and a bound on what a block of nothing else costs.
class NameBudget {
 public:
  /// False when `name` is more than is left.
  bool take(const CString& name) {
    m_left -= name.GetLength();
    return m_left >= 0;
  }

 private:
  std::int64_t m_left = std::int64_t{500} * 500 * 32 / 2;
};
