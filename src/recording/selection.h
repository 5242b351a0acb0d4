#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <ctfmeg/events.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/record.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>
#include <ctfmeg/selection.h>

namespace ctfmeg {
inline namespace v1 {

/// The samples that a selection leaves of these channels, places in `Recording::channels()` in rising order,
/// in the place of those that it chooses. Throws what `Recording::samples` throws.
std::shared_ptr<const SampleSource> samplesOfChannels(const Recording& recording, const Selection& selection,
                                                      std::vector<int> channels);

}  // namespace v1

// What a selection means for a recording. `file` is what errors are about.

/// The marker of that name, with the occurrences of all of them where several have it. Throws `Error` with
/// those that there are.
Marker markerNamed(const std::string& name, const std::vector<Marker>& markers,
                   const std::filesystem::path& file);

/// Whether a channel is of a kind: "meg", "ref", or any that a channel has, in any case.
bool isOfKind(const Channel& channel, const std::string& kind);

/// Numbers of the file's trials that a selection keeps, in file order, each once. Throws `Error` where it
/// names what the recording does not have.
std::vector<int> chosenTrials(const Selection& selection, const std::vector<Marker>& markers,
                              const std::filesystem::path& file, std::int32_t trials);

/// Places in `channels` that a selection keeps, in their order. Throws `Error` for an item that matches none,
/// and when none is left.
std::vector<int> chosenChannels(const Selection& selection, const std::vector<Channel>& channels,
                                const std::filesystem::path& file);

/// What a selection makes of each trial, or of the run.
struct Cut {
  std::int64_t first = 0;   ///< sample with which the first piece begins
  std::int64_t length = 0;  ///< of a piece, before the step
  std::int64_t pieces = 1;
  std::int64_t samples = 0;  ///< of a piece, after the step
  std::int64_t step = 1;
};

/// How samples are counted: a trial's from the one at which it is `preTrigSamples` before the trigger.
struct Counting {
  std::int64_t samples = 0;
  double sampleRate = 0.0;          ///< Hz
  std::int64_t preTrigSamples = 0;  ///< 0 for a run, whose seconds count from its start
};

/// Throws `Error` where nothing would be left, and for what can't be combined.
Cut cutOf(const Selection& selection, const std::filesystem::path& file, const Counting& counting);

/// What is to be known about taking every `step`-th sample without a filter: a remark where the recording's
/// own low-pass filter lets through more than half of the new sample rate, nothing where none is known.
std::optional<Finding> aliasingOf(const RecordInfo& record, std::int64_t step,
                                  const std::filesystem::path& file);

/// The error for a trial that was chosen and is not there whole; `findings` may say why.
Error missingTrial(int trial, const std::filesystem::path& file, std::vector<Finding> findings);

}  // namespace ctfmeg
