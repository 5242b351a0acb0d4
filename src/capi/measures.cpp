#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "base/threads.h"
#include "capi/failure.h"
#include "capi/handles.h"
#include "capi/selection_json.h"
#include "recording/sample_sources.h"

#include <ctfmeg/statistics.h>
#include <ctfmeg/stimulus.h>

// What is measured of samples: extremes for drawing, events of stimulus channels, statistics.

using namespace ctfmeg;
using namespace ctfmeg::capi;

namespace {

template <class To>
To* copyOfAll(const std::vector<To>& all) {
  return static_cast<To*>(copyOf(all.data(), all.size() * sizeof(To)));
}

ctfmeg_event eventOf(const StimulusEvent& event) {
  return {event.channel, event.value, event.previous, event.trial,
          event.sample,  event.time,  event.runTime,  event.duration};
}

ctfmeg_channel_statistics entryOf(const ChannelStatistics& channel) {
  std::uint32_t faults = 0;
  for (const SignalFault fault : channel.faults)
    faults |= 1U << static_cast<unsigned>(fault);
  return {channel.samples,
          channel.min,
          channel.max,
          channel.mean,
          channel.std,
          channel.flat,
          channel.clipped,
          channel.jumps,
          channel.noise,
          faults,
          0};
}

}  // namespace

extern "C" {

int ctfmeg_min_max(ctfmeg_view* view, int64_t trial, int64_t first, int64_t samples, int64_t width,
                   double* min, double* max, int64_t count, ctfmeg_progress_function progress, void* user,
                   ctfmeg_error* error) {
  return guarded(error, [&] {
    require(min, "min");
    require(max, "max");
    const auto of = opened(view);
    const Shape shape = of->source->shape();
    requireRange("samples", first, std::max<std::int64_t>(samples, 0), shape.samples);
    constexpr std::int64_t kWidest = 1 << 24;
    if (width < 1 || width > kWidest) throw Misuse("the width must be from 1 to 16777216 pixels");
    if (count < width * shape.channels)
      throw Misuse("there is room for " + std::to_string(count) + " of " +
                   std::to_string(width * shape.channels) + " values");
    if (samples < -1) throw Misuse("the number of samples is negative");
    about(of->of->recording.resourceFile(), [&] {
      const StopCheck check([&] {
        if (progress != nullptr && progress(user, 0.0) != 0)
          throw Error(ErrorKind::stopped, {}, "the drawing was stopped");
      });
      const auto all = of->overview->extremes({.trial = trial,
                                               .channels = shape.channels,
                                               .first = first,
                                               .samples = samples < 0 ? shape.samples - first : samples},
                                              static_cast<int>(width));
      for (std::size_t i = 0; i < all.size(); ++i) {
        min[i] = all[i].min;
        max[i] = all[i].max;
      }
    });
  });
}

int ctfmeg_events(ctfmeg_recording* recording, const char* selection, ctfmeg_progress_function progress,
                  void* user, ctfmeg_event** events, int64_t* count, ctfmeg_error* error) {
  return guarded(error, [&] {
    require(events, "events");
    require(count, "count");
    const auto of = opened(recording);
    about(of->recording.resourceFile(), [&] {
      const WantedEvents wanted = wantedEventsOf(selection);
      const StimulusEvents found =
          stimulusEvents(of->recording, wanted.selection, wanted.options, progressOf(progress, user));
      of->report(found.findings);
      std::vector<ctfmeg_event> all(found.events.size());
      std::transform(found.events.begin(), found.events.end(), all.begin(), eventOf);
      *events = copyOfAll(all);
      *count = std::ssize(all);
    });
  });
}

int ctfmeg_statistics(ctfmeg_view* view, ctfmeg_progress_function progress, void* user,
                      ctfmeg_channel_statistics** statistics, int64_t* count, ctfmeg_error* error) {
  return guarded(error, [&] {
    require(statistics, "statistics");
    require(count, "count");
    const auto of = opened(view);
    if (of->averaged)
      throw Error(ErrorKind::refused, of->of->recording.resourceFile(),
                  "has no statistics of an average: its samples are no signal");
    about(of->of->recording.resourceFile(), [&] {
      const auto found = statisticsOf(of->samples, of->of->recording, of->selection, of->processing, {},
                                      progressOf(progress, user), of->of->threads);
      std::vector<ctfmeg_channel_statistics> all(found.size());
      std::transform(found.begin(), found.end(), all.begin(), entryOf);
      *statistics = copyOfAll(all);
      *count = std::ssize(all);
    });
  });
}
}
