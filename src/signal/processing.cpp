#include <ctfmeg/processing.h>

#include <stdexcept>
#include <utility>

#include "base/finding_codes.h"
#include "recording/selection.h"
#include "signal/epochs.h"

#include <ctfmeg/compensation.h>
#include <ctfmeg/low_pass.h>

namespace ctfmeg {
inline namespace v1 {
namespace {

void requireFit(const Selection& selection, const Processing& processing) {
  if (processing.decimate < 1) throw std::invalid_argument("decimation by less than 1");
  if (processing.decimate > 1 && selection.step > 1)
    throw std::invalid_argument("decimation and a step of the selection do not go together");
  if (processing.epochs && (selection.continuous || selection.samples || selection.seconds ||
                            selection.markers || selection.pieces > 1))
    throw std::invalid_argument("epochs are of trials: no span, run, marker or pieces go with them");
}

/// Before samples are left out.
std::shared_ptr<const SampleSource> allSamples(const Recording& recording, const Selection& selection,
                                               const Processing& processing, int threads) {
  auto source = processing.compensation ? compensated(recording, selection, *processing.compensation, threads)
                                        : recording.samples(selection);
  if (processing.decimate == 1) return source;
  try {
    return lowPassed(std::move(source), processing.decimate, threads);
  } catch (const Error& error) {  // a source does not know its file
    throw Error(error.kind(), recording.resourceFile(), error.text(), error.findings());
  }
}

/// The good channels that limits are for.
Selection judgedBy(const std::vector<PeakToPeak>& limits, Selection selection, const Recording& recording) {
  selection.channels.emplace();
  selection.exclude.clear();
  for (const PeakToPeak& one : limits) {
    bool known = false, any = false;
    for (const Channel& channel : recording.channels()) {
      if (!isOfKind(channel, one.kind)) continue;
      known = true;
      any = any || channel.good;
      if (channel.good) selection.channels->push_back(channel.name);
    }
    if (!any)
      throw Error(ErrorKind::refused, recording.resourceFile(),
                  "can't reject epochs by channels of kind " + one.kind + ": it has none" +
                      (known ? " that is good" : ""));
  }
  return selection;
}

ProcessedSamples cutEpochs(const Recording& recording, const Selection& selection,
                           const Processing& processing, const ProgressFunction& progress, int threads) {
  Selection wanted = selection;
  wanted.continuous = true;
  wanted.gaps = Gaps::cut;
  wanted.step = 1;
  const auto run = allSamples(recording, wanted, processing, threads);
  const std::int64_t step = processing.decimate > 1 ? processing.decimate : selection.step;
  EpochPlaces epochs = placeEpochs(recording, selection, *run, step, *processing.epochs);
  const auto& limits = processing.epochs->reject;
  if (!limits.empty() && !epochs.occurrences.empty())
    rejectEpochs(epochs, allSamples(recording, judgedBy(limits, wanted, recording), processing, threads),
                 limits, [&](double fraction) {
                   if (progress && !progress({"Looking for epochs beyond a limit", fraction}))
                     throw Error(ErrorKind::stopped, recording.resourceFile(), "the reading was stopped");
                 });
  std::vector<Finding> findings = findingsAbout(epochs, recording.resourceFile());
  for (const Finding& known : run->warnings())
    if (epochs.crossBorders || !is(known, Code::clockNone)) findings.push_back(known);
  if (auto remark = aliasingOf(recording.record(), selection.step, recording.resourceFile()))
    findings.push_back(*std::move(remark));
  return {std::make_shared<Views>(run, std::move(epochs.layout), std::move(findings), threads),
          std::move(epochs.occurrences), epochs.leftOut};
}

}  // namespace

ProcessedSamples processed(const Recording& recording, const Selection& selection,
                           const Processing& processing, const ProgressFunction& progress, int threads) {
  requireFit(selection, processing);
  if (processing.epochs) return cutEpochs(recording, selection, processing, progress, threads);
  auto source = allSamples(recording, selection, processing, threads);
  if (processing.decimate == 1) return {std::move(source)};
  const Shape shape = source->shape();
  Views::Layout layout;
  layout.step = std::min<std::int64_t>(processing.decimate, shape.samples);
  layout.samples = shape.samples / layout.step;
  for (std::int64_t trial = 0; trial < shape.trials; ++trial)
    layout.starts.push_back({trial, 0});
  auto findings = source->warnings();
  return {std::make_shared<Views>(std::move(source), std::move(layout), std::move(findings))};
}

}  // namespace v1
}  // namespace ctfmeg
