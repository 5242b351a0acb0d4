#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include <ctfmeg/recording.h>

namespace ctfmeg {

/// A dataset as the hosts' reader imports it, samples included.
struct HostReading {
  RecordInfo record;                            ///< as the import leaves it
  std::shared_ptr<const SampleSource> samples;  ///< of the trials that hold some, in their order; in memory
  std::vector<Finding> findings;                ///< what the reader noticed, the header's findings among it
};

/// Reads a dataset by an operation of the hosts' facade, to the letter. Hosts know one way to choose samples
/// at a time: of `selection` no more than one member about them may be set. `options` and `progress` are as
/// for `Recording`, but the rules are always the hosts'. Throws `Error`.
HostReading readAsHost(const std::filesystem::path& path, const Selection& selection,
                       const OpenOptions& options, const ProgressFunction& progress = {});

/// What a host lacks, or reads otherwise, of a dataset's header and side files that were read by both rules:
/// remarks, since nothing is wrong with the dataset for it.
std::vector<Finding> hostLosses(const Recording& plain, const Recording& host);

}  // namespace ctfmeg
