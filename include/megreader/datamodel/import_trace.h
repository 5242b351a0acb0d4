#pragma once

#include <string>
#include <vector>

/// Records the import calls that a data object receives, one line each with its arguments. For tests; a data
/// object has none unless one is set.
struct ImportTrace {
  std::vector<std::string> calls;
};
