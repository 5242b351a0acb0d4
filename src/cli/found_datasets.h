#pragma once

#include <string>
#include <vector>

#include "cli/messages.h"

namespace ctfmeg::cli {

/// Every dataset at or below directories, each once, in the order of directories and paths. What is no
/// directory or can't be followed is reported, and makes the exit code of the session 1.
std::vector<std::string> datasetsBelow(const std::vector<std::string>& directories, Session& session);

/// Whether a path is a directory that is no dataset: neither named as one nor with a resource file in it.
bool isFolderOfDatasets(const std::string& path);

/// Datasets as they are given, and those below the directories among them.
std::vector<std::string> datasetsAtOrBelow(const std::vector<std::string>& given, Session& session);

}  // namespace ctfmeg::cli
