#include "recording/catalog.h"

#include <algorithm>
#include <system_error>

namespace ctfmeg {

namespace fs = std::filesystem;

namespace {

bool isDataset(const fs::path& path) { return path.extension() == ".ds"; }

}  // namespace

bool isNamedDataset(const fs::path& directory) {
  std::error_code unknown;
  const fs::path itself = fs::canonical(directory, unknown);
  const fs::path given = directory.has_filename() ? directory : directory.parent_path();
  return isDataset(given) || (!unknown && isDataset(itself));
}

Catalog findDatasets(const fs::path& directory, const std::function<bool()>& stops) {
  Catalog found;
  if (isNamedDataset(directory)) found.datasets.push_back(directory);
  std::vector<fs::path> open{directory};
  while (!open.empty() && !(stops && stops())) {
    const fs::path here = std::move(open.back());
    open.pop_back();
    std::error_code failed;
    fs::directory_iterator entry(here, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
      std::error_code gone;
      if (!entry->is_directory(gone)) {
        if (entry->is_symlink(gone) && isDataset(entry->path()) && !entry->exists(gone))
          found.problems.push_back({entry->path(), "leads nowhere"});
        continue;
      }
      if (isDataset(entry->path())) found.datasets.push_back(entry->path());
      // A copy that was killed before it was complete is no place for datasets.
      const bool isUnfinished = entry->path().extension() == ".part";
      if (!entry->is_symlink(gone) && !isUnfinished) open.push_back(entry->path());
    }
    if (failed) found.problems.push_back({here, "can't be listed: " + failed.message()});
  }
  std::sort(found.datasets.begin(), found.datasets.end());
  return found;
}

}  // namespace ctfmeg
