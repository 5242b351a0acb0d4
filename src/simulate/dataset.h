#pragma once

#include <filesystem>
#include <functional>

#include "simulate/options.h"

namespace ctfmeg::simulate {

/// Thrown when the progress function asks to stop.
struct Stopped {};

/// Called after each trial with (trials done, trials); returns false to stop.
using Progress = std::function<bool(int, int)>;

/// Writes a CTF dataset: `directory`, which must end in ".ds" and not exist yet, with a res4 file, one or
/// more meg4 files and the side files. All is written to a temporary directory next to it that is renamed at
/// the end and removed on every failure, so `directory` is either complete or not there. Memory: one trial.
//
/// Throws std::invalid_argument naming the option (or the directory's name) that cannot be used,
/// std::filesystem::filesystem_error with path and reason when `directory` exists or something cannot be
/// written, Stopped when `progress` returned false, and whatever `progress` throws.
void writeDataset(const std::filesystem::path& directory, const Options& options,
                  const Progress& progress = {});

}  // namespace ctfmeg::simulate
