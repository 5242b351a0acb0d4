#pragma once

#include <string>
#include <vector>

namespace ctfmeg::cli {

/// What stands between the commas of a list; at least one item, possibly empty.
std::vector<std::string> itemsOf(const std::string& list);

}  // namespace ctfmeg::cli
