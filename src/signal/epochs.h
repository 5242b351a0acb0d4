#pragma once

#include <vector>

#include "signal/views.h"

#include <ctfmeg/epochs.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/selection.h>

namespace ctfmeg {

/// Epochs, as stretches of a run that are there whole.
struct EpochPlaces {
  Views::Layout layout{};
  std::vector<Occurrence> occurrences{};  ///< of each stretch
  LeftOut leftOut{};
  bool crossBorders = false;  ///< whether one has samples of several trials
  /// Bad segments and trials of classes that are at no place of the recording, and so were not looked for.
  std::int64_t badNowhere = 0;
};

/// Finds them in a run of the selected trials, its trial 0; `step` begins anew in each. Throws
/// `Error` for spans that make no sense.
EpochPlaces placeEpochs(const Recording& recording, const Selection& selection, const SampleSource& run,
                        std::int64_t step, const Epoching& epoching);

/// Leaves out those in which a channel of `run` goes beyond one of the limits.
void rejectEpochs(EpochPlaces& epochs, const std::shared_ptr<const SampleSource>& run,
                  const std::vector<PeakToPeak>& limits, const std::function<void(double)>& show);

/// What is to be said about epochs that were left out; throws `Error` when none is left.
std::vector<Finding> findingsAbout(const EpochPlaces& epochs, const std::filesystem::path& file);

}  // namespace ctfmeg
