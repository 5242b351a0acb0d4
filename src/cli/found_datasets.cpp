#include "cli/found_datasets.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "cli/process.h"
#include "describe/scan_table.h"
#include "recording/catalog.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {

namespace fs = std::filesystem;

std::vector<std::string> datasetsBelow(const std::vector<std::string>& directories, Session& session) {
  std::vector<std::string> datasets;
  std::set<std::string> known;
  for (const std::string& directory : directories)
    session.attempt(directory, [&] {
      const Catalog found = findDatasets(describe::directoryToScan(pathFromText(directory)), interrupted);
      stopIfInterrupted();
      for (const Catalog::Problem& problem : found.problems)
        session.sayFailure(textOf(problem.path), problem.text);
      for (const fs::path& path : found.datasets)
        if (known.insert(textOf(path)).second) datasets.push_back(textOf(path));
    });
  return datasets;
}

bool isFolderOfDatasets(const std::string& path) {
  const fs::path directory = reachable(pathFromText(path));
  std::error_code unknown;
  if (!fs::is_directory(directory, unknown)) return false;
  return !isNamedDataset(directory);
}

namespace {

bool holdsResourceFile(const std::string& directory) {
  std::error_code unknown;
  fs::directory_iterator entry(reachable(pathFromText(directory)), unknown);
  for (const fs::directory_iterator end; !unknown && entry != end; entry.increment(unknown))
    if (entry->path().extension() == ".res4") return true;
  return false;
}

}  // namespace

std::vector<std::string> datasetsAtOrBelow(const std::vector<std::string>& given, Session& session) {
  std::vector<std::string> datasets;
  std::set<std::string> known;
  const auto add = [&](const std::string& path) {
    if (known.insert(path).second) datasets.push_back(path);
  };
  for (const std::string& path : given) {
    if (!isFolderOfDatasets(path)) {
      add(path);
      continue;
    }
    const bool itself = holdsResourceFile(path);
    if (itself) add(path);
    const auto below = datasetsBelow({path}, session);
    if (below.empty() && !itself) session.sayFailure(path, "holds no dataset");
    for (const std::string& dataset : below)
      add(dataset);
  }
  return datasets;
}

}  // namespace ctfmeg::cli
