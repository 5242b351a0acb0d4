#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <ctfmeg/recording.h>

namespace ctfmeg {

/// A dataset as the hosts' reader imports it, samples included.
struct HostReading {
  RecordInfo record;                                  ///< as the import leaves it
  std::vector<Origin> trials;                         ///< of the trials that hold samples, in their order
  int channels = 0;                                   ///< of each trial
  std::int64_t samples = 0;                           ///< of each channel
  std::vector<Finding> findings;                      ///< what the reader noticed
  std::vector<std::span<const std::int32_t>> values;  ///< channels x samples of each trial
  std::shared_ptr<const void> owner;                  ///< keeps the values
};

/// Reads a dataset by an operation of the hosts' facade, to the letter. Hosts know one way to choose samples
/// at a time: of `selection` no more than one member may be set. `answer` and `progress` as for `Recording`.
/// Throws `Error`.
HostReading readAsHost(const std::filesystem::path& path, const Selection& selection,
                       const OpenOptions& options, const ProgressFunction& progress = {});

/// What a host lacks, or reads otherwise, of a dataset's header and side files that were read by both rules:
/// remarks, since nothing is wrong with the dataset for it.
std::vector<Finding> hostLosses(const Recording& plain, const Recording& host);

}  // namespace ctfmeg
