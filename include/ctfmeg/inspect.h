#pragma once

#include <vector>

#include <ctfmeg/recording.h>
#include <ctfmeg/statistics.h>

namespace ctfmeg {
inline namespace v1 {

/// What is odd in what a dataset says, beyond what was noticed when it was opened (`Recording::warnings`):
/// markers, classes and bad segments outside the run, names of no channel or of two, text beyond
/// ASCII. Texts quote names of channels, markers and classes and nothing else that the
/// dataset holds.
CTFMEG_API std::vector<Finding> inspect(const Recording& recording);

/// Which MEG, reference and EEG channels are flat, clipped, jump or are far noisier than their kind: a
/// warning for each of these, and a remark about channels that the dataset marks as bad already. Reads all
/// samples, as `statisticsOf` does, and throws what that throws. Nothing where there is no whole trial.
CTFMEG_API std::vector<Finding> inspectSignals(const Recording& recording, const SignalLimits& limits = {},
                                               const ProgressFunction& progress = {}, int threads = 0);

}  // namespace v1
}  // namespace ctfmeg
