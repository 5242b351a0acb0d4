#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "describe/shown.h"

namespace ctfmeg::describe {

/// A dataset that was found, read or not: its record, what its sample files hold, and its warnings.
struct ScannedDataset {
  ShownDataset dataset;
  std::int64_t bytes = 0;  ///< of the files in its directory
  SampleStatus status = SampleStatus::broken;
  std::string problem{};  ///< why the status is what it is; empty where it is ok
};

/// How each dataset is read; called from several threads at once.
struct ScanReading {
  std::function<Recording(const std::string& path)> open;
  std::function<std::vector<Finding>(const Recording& recording)> aboutSamples;
};

/// Header, side files, and beginnings and lengths of sample files of datasets, read on several threads; in
/// the order of their paths. What is wrong with a dataset is in its entry. `goesOn` is called on the caller's
/// thread, several times a second, with how many have been read; false ends the reading with an `Error` of
/// the kind `stopped`, and so does what it throws.
std::vector<ScannedDataset> scanDatasets(const std::vector<std::string>& paths, const ScanReading& reading,
                                         const std::function<bool(std::size_t read)>& goesOn);

}  // namespace ctfmeg::describe
