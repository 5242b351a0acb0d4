#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/recording.h"

namespace ctfmeg::cli {

/// What `scan` shows of a recording's header.
struct ScannedHeader {
  std::string subject, date, time;
  std::int32_t channels = 0, trials = 0, samplesPerTrial = 0;
  double sampleRate = 0.0;       ///< Hz
  double durationSeconds = 0.0;  ///< of all trials together; 0 without a sample rate
};

/// A dataset that was found, read or not.
struct ScannedDataset {
  std::string path;
  std::optional<ScannedHeader> header;  ///< nothing when it could not be read
  std::int64_t bytes = 0;               ///< of the files in its directory
  std::string error;                    ///< why it could not be read
  std::vector<Finding> warnings;        ///< remarks are not kept
};

/// What was found below a directory.
struct FoundDatasets {
  struct Problem {
    std::string path, text;
  };
  std::vector<std::filesystem::path> datasets;  ///< in the order of their paths
  std::vector<Problem> problems;                ///< directories and links that can't be followed
};

/// Every `.ds` directory at or below `directory`, those inside others too. Links to directories are not
/// followed, but for those that are themselves named `.ds`.
FoundDatasets findDatasets(const std::filesystem::path& directory);

/// Reads one header. What goes wrong is in the result.
ScannedDataset scanDataset(const std::filesystem::path& dataset, Rules rules);

}  // namespace ctfmeg::cli
