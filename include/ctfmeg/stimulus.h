#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>
#include <ctfmeg/selection.h>

// Events: changes of a stimulus channel, whose samples are the lines of a port, a bit each. They are compared
// as unsigned numbers of 32 bits, so that the uppermost line (a negative sample) is a line like the others.

namespace ctfmeg {
inline namespace v1 {

/// Which changes are events.
enum class Edge {
  rising,   ///< to a greater value
  falling,  ///< to a smaller one
  both,     ///< any
};

struct StimulusOptions {
  std::uint32_t mask = 0xFFFFFFFF;  ///< the bits of a sample that count; the others are taken for 0
  Edge edge = Edge::rising;
};

/// A change of a channel. Trials and samples are those of the file, from 0.
struct StimulusEvent {
  int channel = 0;             ///< its place in `Recording::channels()`
  std::uint32_t value = 0;     ///< of the bits that count, from this sample on
  std::uint32_t previous = 0;  ///< before it
  int trial = 0;
  std::int64_t sample = 0;  ///< the first that has the value
  double time = 0.0;        ///< seconds from the trigger
  double runTime = 0.0;     ///< seconds from the first sample of trial 0; see `Timeline::starts`
  double duration = 0.0;    ///< seconds to the next change of any kind, or to the end of the run
};

struct StimulusEvents {
  std::vector<StimulusEvent> events{};  ///< by trial, sample and channel
  /// What was noticed: that no clock says whether the trials adjoin, where that counts.
  std::vector<Finding> findings{};
};

/// Places in `Recording::channels()` of the channels that a selection chooses; where it names none, of those
/// of kind `stim`. Throws `Error` where there are none.
CTFMEG_API std::vector<int> stimulusChannels(const Recording& recording, const Selection& selection = {});

/// The events of the channels that a selection chooses, of kind `stim` where it names none. Reads their
/// samples and no others, but for the clock's at both ends of each trial; a little at a time, so that memory
/// grows with the number of events only.
///
/// An event is where the value changes between two samples that are read and follow each other. Trials that
/// adjoin (see `Timeline`; without a clock all that are next to each other in the file) and are read up to
/// their common border go on as one run. With `Selection::step` samples less than two steps apart follow
/// each other. The value before a run counts as 0, so that a run may begin with an event. A missing sample
/// ends a run. Throws what `Recording::samples` and reading throw, and `Error` of the kind `stopped` when
/// `progress` returns false.
CTFMEG_API StimulusEvents stimulusEvents(const Recording& recording, const Selection& selection = {},
                                         const StimulusOptions& options = {},
                                         const ProgressFunction& progress = {});

/// The same of all channels of a source, which must hold samples of that recording.
CTFMEG_API StimulusEvents stimulusEvents(const Recording& recording, const SampleSource& source,
                                         const StimulusOptions& options = {},
                                         const ProgressFunction& progress = {});

/// How far apart an event and the occurrence of a marker that belongs to it may be, in seconds. Sound tubes
/// and screens are late by 10 to 40 ms, and few experiments have stimuli that follow each other within 100
/// ms.
inline constexpr double kMarkerTolerance = 0.05;

/// An event and the occurrence of a marker that belongs to it.
struct MarkerMatch {
  std::size_t event = 0;        ///< its place among the events
  std::size_t occurrence = 0;   ///< its place in `Marker::samples`
  std::int64_t difference = 0;  ///< the event's sample minus the occurrence's; negative: the event is earlier
};

/// How the events agree with the occurrences of a marker.
struct MarkerAgreement {
  std::vector<MarkerMatch> matches{};           ///< in the order of events
  std::vector<std::size_t> eventsAlone{};       ///< places of events that have no occurrence
  std::vector<std::size_t> occurrencesAlone{};  ///< places in `Marker::samples` of those without an event
};

/// Compares events with a marker of the recording. Events and occurrences are matched one to one, those
/// nearest to each other first, as far as they are at most `tolerance` seconds apart. Only occurrences at
/// samples of `source`, the one that was searched for events, are compared, and those in trials that the
/// recording does not have, which no event can belong to. Places of occurrences count through all markers of
/// that name. Throws `Error` for a name that no
/// marker has.
CTFMEG_API MarkerAgreement compareWithMarker(const Recording& recording, const SampleSource& source,
                                             const std::vector<StimulusEvent>& events,
                                             const std::string& marker, double tolerance = kMarkerTolerance);

}  // namespace v1
}  // namespace ctfmeg
