#pragma once

#include <string>
#include <vector>

namespace ctfmeg::cli {

/// Prints rows of cells, the first its heading, in columns as wide as they need to be.
void printTable(const std::vector<std::vector<std::string>>& rows);

}  // namespace ctfmeg::cli
