#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a dataset says about single trials. Texts are UTF-8, trial numbers as in the file, from 0.

namespace ctfmeg {
inline namespace v1 {

/// One occurrence of a marker.
struct MarkerSample {
  std::int32_t trial = 0;
  double timeMs = 0.0;      ///< milliseconds from the trigger
  std::int64_t sample = 0;  ///< sample of the trial, from 0; outside the trial when the time is
};

/// What markers and classes of trials have in common.
struct EventGroup {
  std::string name;
  std::string comment;
  std::optional<std::uint32_t> color;  ///< 0xRRGGBB; nothing when the file gives none that is known
  bool editable = false;
  std::int32_t classId = 0;
  std::int32_t classGroupId = 0;  ///< of a marker under host rules: 100
};

/// A named event, such as a stimulus, with its occurrences.
struct Marker : EventGroup {
  std::int64_t numSamples = 0;  ///< as the file counts them; `samples` may hold fewer
  std::vector<MarkerSample> samples;
};

/// A named class of trials, such as "BAD".
struct TrialClass : EventGroup {
  std::int64_t numTrials = 0;                       ///< trials that the file lists
  std::optional<std::vector<std::int32_t>> trials;  ///< nothing under host rules, which only count them
};

/// A span of a trial that the dataset marks as bad.
struct BadSegment {
  std::int32_t trial = 0;
  double startMs = 0.0;  ///< milliseconds from the trial's start
  double endMs = 0.0;
};

}  // namespace v1
}  // namespace ctfmeg
