#include <ctfmeg/stimulus.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "base/finding_codes.h"
#include "recording/arrangement.h"
#include "recording/selection.h"
#include "signal/stretches.h"

namespace ctfmeg {
inline namespace v1 {
namespace {

/// Samples of a channel that are read at once.
constexpr std::int64_t kSearchedAtOnce = std::int64_t{1} << 17U;

/// Finds the events of one channel, whose samples come in their order.
class ChangeFinder {
 public:
  ChangeFinder(const Recording& recording, const Timeline& timeline, const StimulusOptions& options,
               int channel, std::vector<StimulusEvent>& events)
      : m_record(recording.record()),
        m_timeline(timeline),
        m_options(options),
        m_channel(channel),
        m_events(events) {}

  /// Samples of a stretch, from its `first` on.
  void add(const Stretch& stretch, std::int64_t first, const std::vector<double>& values,
           std::int64_t count) {
    if (first == 0 && !stretch.goesOn) endRun();
    for (std::int64_t i = 0; i < count; ++i) {
      const double stored = values[static_cast<std::size_t>(i)];
      const std::int64_t position = stretch.position + (first + i) * stretch.step;
      if (std::isnan(stored)) {
        endRun();
        continue;
      }
      const auto bits = static_cast<std::uint32_t>(static_cast<std::int32_t>(stored)) & m_options.mask;
      if (bits != m_value) change(stretch.fileTrial, stretch.fileSample(first + i), position, bits);
      m_end = position + stretch.step;
    }
  }

  /// No sample of the run is left.
  void endRun() {
    endEvent(m_end);
    m_value = 0;
  }

 private:
  void change(int trial, std::int64_t sample, std::int64_t position, std::uint32_t value) {
    endEvent(position);
    const std::uint32_t previous = std::exchange(m_value, value);
    if (m_options.edge == (value > previous ? Edge::falling : Edge::rising)) return;
    m_open = position;
    m_events.push_back({.channel = m_channel,
                        .value = value,
                        .previous = previous,
                        .trial = trial,
                        .sample = sample,
                        .time = seconds(sample - m_record.preTrigSamples),
                        .runTime = m_timeline.starts[static_cast<std::size_t>(trial)] + seconds(sample)});
  }

  /// The value of the last event lasts to before `position`.
  void endEvent(std::int64_t position) {
    if (m_open >= 0) m_events.back().duration = seconds(position - m_open);
    m_open = -1;
  }

  double seconds(std::int64_t samples) const { return static_cast<double>(samples) / m_record.sampleRate; }

  const RecordInfo& m_record;
  const Timeline& m_timeline;
  StimulusOptions m_options;
  int m_channel;
  std::vector<StimulusEvent>& m_events;
  std::uint32_t m_value = 0;  // of the last sample; before a run 0
  std::int64_t m_end = 0;     // position in the run after the last sample
  std::int64_t m_open = -1;   // position of the last event, while its value lasts
};

}  // namespace

std::vector<int> stimulusChannels(const Recording& recording, const Selection& selection) {
  std::vector<int> chosen = recording.chosenChannels(selection);
  if (selection.channels) return chosen;
  std::erase_if(chosen, [&](int channel) {
    return recording.channels()[static_cast<std::size_t>(channel)].kind != ChannelKind::stim;
  });
  if (chosen.empty())
    throw Error(
        ErrorKind::refused, recording.resourceFile(),
        "has no stimulus channel" + std::string(selection.exclude.empty() ? "" : " that is not excluded"));
  return chosen;
}

StimulusEvents stimulusEvents(const Recording& recording, const Selection& selection,
                              const StimulusOptions& options, const ProgressFunction& progress) {
  const auto source = samplesOfChannels(recording, selection, stimulusChannels(recording, selection));
  return stimulusEvents(recording, *source, options, progress);
}

StimulusEvents stimulusEvents(const Recording& recording, const SampleSource& source,
                              const StimulusOptions& options, const ProgressFunction& progress) {
  const Timeline timeline = recording.timeline(std::numeric_limits<int>::max());
  const Stretches stretches = stretchesOf(recording, source, timeline);
  StimulusEvents found;
  const auto isNoClock = [](const Finding& finding) { return is(finding, Code::clockNone); };
  if (stretches.unknown && std::none_of(source.warnings().begin(), source.warnings().end(), isNoClock))
    found.findings.push_back(noClock(recording.resourceFile()));

  const Shape shape = source.shape();
  double done = 0.0;
  const double all = static_cast<double>(shape.trials) * shape.channels * static_cast<double>(shape.samples);
  std::vector<double> values(static_cast<std::size_t>(std::min(kSearchedAtOnce, shape.samples)));
  for (int c = 0; c < shape.channels; ++c) {
    ChangeFinder finder(recording, timeline, options, source.channels()[static_cast<std::size_t>(c)].index,
                        found.events);
    for (const Stretch& stretch : stretches.all)
      for (std::int64_t first = 0, count = 0; first < stretch.samples; first += count) {
        if (progress && !progress({"Reading samples", done / all}))
          throw Error(ErrorKind::stopped, recording.resourceFile(), "the reading was stopped");
        count = std::min(kSearchedAtOnce, stretch.samples - first);
        source.read({.trial = stretch.trial, .channel = c, .first = stretch.at + first, .samples = count},
                    values, Values::raw);
        finder.add(stretch, first, values, count);
        done += static_cast<double>(count);
      }
    finder.endRun();
  }
  if (progress) progress({"Reading samples", 1.0});
  const auto place = [](const StimulusEvent& event) {
    return std::tuple(event.trial, event.sample, event.channel);
  };
  std::sort(found.events.begin(), found.events.end(),
            [&](const StimulusEvent& a, const StimulusEvent& b) { return place(a) < place(b); });
  return found;
}

}  // namespace v1
}  // namespace ctfmeg
