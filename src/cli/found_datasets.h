#pragma once

#include <string>
#include <vector>

#include "cli/messages.h"

namespace ctfmeg::cli {

/// Every dataset at or below directories, each once, in the order of directories and paths. What is no
/// directory or can't be followed is reported, and makes the exit code of the session 1.
std::vector<std::string> datasetsBelow(const std::vector<std::string>& directories, Session& session);

/// Whether a path is a directory that is not named as a dataset.
bool isFolderOfDatasets(const std::string& path);

/// Datasets as they are given, and those at or below the directories among them, each once.
std::vector<std::string> datasetsAtOrBelow(const std::vector<std::string>& given, Session& session);

}  // namespace ctfmeg::cli
