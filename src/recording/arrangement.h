#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <ctfmeg/finding.h>
#include <ctfmeg/record.h>
#include <ctfmeg/samples.h>
#include <ctfmeg/selection.h>

namespace ctfmeg {

/// Samples that follow each other in a trial of a source, and come from one trial of the file or are missing.
/// Counted before the step.
struct Part {
  static constexpr int kMissing = -1;
  int fileTrial = kMissing;
  std::int64_t firstSample = 0;  ///< of the trial of the file
  std::int64_t samples = 0;
  std::int64_t at = 0;  ///< place in the trial of the source
  /// When its first sample is, in sample periods from the trigger or from the start of the run.
  double start = 0.0;
};

/// What a selection makes of the trials of the file.
struct Arrangement {
  std::vector<std::vector<Part>> trials{};  ///< the parts of each trial of the source, without a hole between
  std::int64_t samples = 0;                 ///< of each trial, after the step
  std::int64_t step = 1;
  bool missing = false;  ///< there are parts without samples, or channels that are not whole
  std::vector<Gap> gaps{};
  double sampleRate = 0.0;  ///< Hz, of the acquisition
};

/// What `arrange` has to know about a recording.
struct Arranging {
  const RecordInfo& record;
  const std::filesystem::path& file;  ///< what errors are about
  /// What is missing between two trials; nothing where no clock says so.
  std::function<std::optional<Gap>(int trial, int later)> gapBetween;
};

/// The warning that trials are taken as following each other.
Finding noClock(const std::filesystem::path& file);

/// Puts trials of the file, in their order, one after another as a selection wants them. Reports what is odd.
/// Throws `Error` for what can't be done.
Arrangement arrange(const Selection& selection, const std::vector<int>& trials, const Arranging& recording,
                    std::vector<Finding>& findings);

}  // namespace ctfmeg
