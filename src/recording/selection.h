#pragma once

#include <vector>

#include <ctfmeg/events.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/samples.h>

namespace ctfmeg {

// What a selection means for a recording. `file` is what errors are about.

/// Numbers of the file's trials that a selection keeps, in file order, each once. Throws `Error` where it
/// names what the recording does not have.
std::vector<int> chosenTrials(const Selection& selection, const std::vector<Marker>& markers,
                              const std::filesystem::path& file, std::int32_t trials);

/// What a selection makes of each trial.
struct Cut {
  std::int64_t first = 0;   ///< sample of the trial with which the first piece begins
  std::int64_t length = 0;  ///< of a piece, in samples of the file
  std::int64_t pieces = 1;
  std::int64_t samples = 0;  ///< of a piece, after the step
  std::int64_t step = 1;
};

/// For trials of `samples` samples. Throws `Error` where nothing would be left.
Cut cutOf(const Selection& selection, const std::filesystem::path& file, std::int64_t samples);

/// The error for a trial that was chosen and is not there whole; `findings` may say why.
Error missingTrial(int trial, const std::filesystem::path& file, std::vector<Finding> findings);

}  // namespace ctfmeg
