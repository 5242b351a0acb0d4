#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <ctfmeg/epochs.h>
#include <ctfmeg/export.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>
#include <ctfmeg/selection.h>

namespace ctfmeg {
inline namespace v1 {

/// What is done with the samples that a selection leaves, in this order.
struct Processing {
  /// Gradient order to which MEG channels are brought; see <ctfmeg/compensation.h>.
  std::optional<int> compensation{};
  /// Every so many samples are kept, after a low-pass filter; see <ctfmeg/low_pass.h>. 1: all, not filtered.
  /// Not with a step of the selection.
  int decimate = 1;
  /// Epochs in the place of trials. They are cut from the selected trials as one run, filtered before, and
  /// lie over borders of trials that adjoin. The selection is then of trials, channels, a step, which each
  /// epoch begins anew, and of what is done about a trial that is cut short.
  std::optional<Epoching> epochs{};
};

struct ProcessedSamples {
  std::shared_ptr<const SampleSource> source{};
  /// Of each trial of the source, where these are epochs.
  std::vector<Occurrence> epochs{};
  LeftOut leftOut{};
};

/// The samples that a selection leaves, processed as they are read. With compensation, a baseline or a filter
/// values are physical, and reading raw ones throws std::invalid_argument. A time of an epoch is in seconds
/// from its occurrence. Only for epochs with a limit samples are read at once; `progress` is about these.
/// Windows are read by so many threads (0: as many as pay). Throws what `Recording::samples`, `compensated`
/// and `lowPassed` throw; std::invalid_argument for what does not go together; and `Error` where no epoch is
/// left, saying why.
CTFMEG_API ProcessedSamples processed(const Recording& recording, const Selection& selection,
                                      const Processing& processing, const ProgressFunction& progress = {},
                                      int threads = 0);

}  // namespace v1
}  // namespace ctfmeg
