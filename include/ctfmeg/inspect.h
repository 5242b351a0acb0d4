#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include <ctfmeg/recording.h>

namespace ctfmeg {
inline namespace v1 {

/// What is odd in what a dataset says, beyond what was noticed while it was read (`Recording::warnings`):
/// markers, classes and bad segments outside the run, names that stand for no channel or for two, text beyond
/// ASCII, numbers that can't be. `resourceFile` is the recording's (`resolveDataset`). Texts quote names of
/// channels, markers and classes and nothing else that the dataset holds.
std::vector<Finding> inspect(const Recording& recording, const std::filesystem::path& resourceFile);

/// What a host that keeps to the host rules lacks, or reads otherwise, of a dataset that was read both ways:
/// remarks, since nothing is wrong with the dataset for it.
std::vector<Finding> hostLosses(const Recording& plain, const Recording& host,
                                const std::filesystem::path& resourceFile);

/// A trial's samples and its number in the file as one number, together with that of the trials before it:
/// two readings that stored the same have the same.
std::uint64_t digestOfSamples(const Trial& trial, std::uint64_t before);

}  // namespace v1
}  // namespace ctfmeg
