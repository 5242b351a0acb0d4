#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "describe/scan.h"
#include "output/table_writer.h"

namespace ctfmeg::describe {

/// The table that `scan` prints.
const std::vector<output::Column>& scanColumns();
std::vector<output::Cell> scanRow(const ScannedDataset& scanned);

/// A directory as it can be read. Throws `Error` where it is none.
std::filesystem::path directoryToScan(const std::filesystem::path& directory);

/// What `scan --json` prints of a directory, without a line break after it. What it reports elsewhere, a
/// directory that can't be listed or a link that leads nowhere, is an entry too. `goesOn` is called on the
/// caller's thread with what is done, 0 to 1; false ends it with an `Error` of the kind `stopped`. Throws
/// `Error` where the directory is none or can't be listed.
std::string scanJson(const std::filesystem::path& directory, const std::function<bool(double)>& goesOn = {});

}  // namespace ctfmeg::describe
