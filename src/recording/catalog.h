#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace ctfmeg {

/// What was found below a directory.
struct Catalog {
  struct Problem {
    std::filesystem::path path;
    std::string text;  ///< one sentence about it
  };
  std::vector<std::filesystem::path> datasets;  ///< in the order of their paths
  std::vector<Problem> problems;                ///< directories and links that can't be followed
};

/// Whether a directory is called `.ds`, in the path or, as with ".", itself.
bool isNamedDataset(const std::filesystem::path& directory);

/// Every `.ds` directory at or below `directory`, those inside others too. Links to directories are not
/// followed, except those that are themselves named `.ds`. `stops` is asked now and then: true ends the
/// search with what was found so far.
Catalog findDatasets(const std::filesystem::path& directory, const std::function<bool()>& stops = {});

}  // namespace ctfmeg
