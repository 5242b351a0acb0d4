#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "capi/failure.h"
#include "capi/handles.h"
#include "capi/reading.h"
#include "capi/selection_json.h"
#include "describe/json.h"
#include "describe/parts_json.h"
#include "output/json.h"
#include "recording/sample_sources.h"
#include "recording/selection.h"

namespace ctfmeg::capi {
namespace {

using output::Json;

std::shared_ptr<const OpenView> select(const std::shared_ptr<const OpenRecording>& of, const char* selection,
                                       const ProgressFunction& progress) {
  Wanted wanted = wantedOf(selection, of->recording);
  auto view = std::make_shared<OpenView>(OpenView{
      .of = of, .selection = std::move(wanted.selection), .processing = std::move(wanted.processing)});
  view->samples = processed(of->recording, view->selection, view->processing, progress, of->threads);
  view->source = view->samples.source;
  if (wanted.average) {
    view->averaged = view->source->shape().trials;
    view->source = averaged(view->source);
  }
  view->overview = std::make_unique<Overview>(view->source, std::size_t{16} << 20U, of->threads);
  of->report(of->recording.sampleWarnings());
  of->report(view->samples.source->warnings());
  return view;
}

Json trialJson(const OpenView& view, std::int64_t trial) {
  const auto& epochs = view.samples.epochs;
  const Occurrence* epoch = epochs.empty() ? nullptr : &epochs[static_cast<std::size_t>(trial)];
  Json json = describe::arrayTrialJson(view.source->origin(trial), epoch);
  if (epoch != nullptr) {
    json["trial"] = epoch->trial;
    json["sample"] = epoch->sample;
  }
  return json;
}

Json viewJson(const OpenView& view) {
  const SampleSource& source = *view.source;
  const Shape shape = source.shape();
  Json channels = Json::array(), trials = Json::array(), pieces = Json::array(), gaps = Json::array();
  for (const Channel& channel : source.channels()) {
    channels.push_back(describe::arrayChannelJson(channel, Values::physical));
    channels.back()["index"] = channel.index;
  }
  const bool isRun = view.selection.continuous && !view.averaged;
  for (std::int64_t trial = 0; trial < shape.trials && !isRun && !view.averaged; ++trial)
    trials.push_back(trialJson(view, trial));
  if (isRun)
    for (const Piece& piece : source.pieces(0))
      pieces.push_back(describe::pieceJson(piece, source));
  for (const Gap& gap : source.gaps())
    gaps.push_back(describe::gapJson(gap));
  const LeftOut& out = view.samples.leftOut;
  return {{"schema", 1},
          {"shape", {shape.trials, shape.channels, shape.samples}},
          {"isRun", isRun},
          {"hasRaw", view.hasRaw()},
          {"channels", std::move(channels)},
          {"sampleRate", source.sampleRate()},
          {"times", {{"first", source.time(0, 0)}, {"step", 1.0 / source.sampleRate()}}},
          {"trials", std::move(trials)},
          {"pieces", std::move(pieces)},
          {"gaps", std::move(gaps)},
          {"epochs", view.averaged ? Json(*view.averaged) : Json()},
          {"leftOut", {{"incomplete", out.incomplete}, {"bad", out.bad}, {"rejected", out.rejected}}},
          {"warnings", Json::parse(describe::findingsJson(view.samples.source->warnings()))}};
}

}  // namespace
}  // namespace ctfmeg::capi

using namespace ctfmeg;
using namespace ctfmeg::capi;

extern "C" {

int ctfmeg_select(ctfmeg_recording* recording, const char* selection, ctfmeg_progress_function progress,
                  void* user, ctfmeg_view** view, ctfmeg_error* error) {
  return guarded(error, [&] {
    require(view, "view");
    const auto of = opened(recording);
    *view = about(of->recording.resourceFile(),
                  [&] { return handleOf(capi::select(of, selection, progressOf(progress, user))); });
  });
}

int ctfmeg_view_close(ctfmeg_view* view, ctfmeg_error* error) {
  return guarded(error, [&] {
    if (view != nullptr) capi::close(view);
  });
}

int ctfmeg_shape(ctfmeg_view* view, int64_t shape[3], ctfmeg_error* error) {
  return guarded(error, [&] {
    require(shape, "shape");
    const Shape is = opened(view)->source->shape();
    shape[0] = is.trials;
    shape[1] = is.channels;
    shape[2] = is.samples;
  });
}

int ctfmeg_describe(ctfmeg_view* view, char** json, ctfmeg_error* error) {
  return guarded(error, [&] {
    require(json, "json");
    *json = copyOf(output::dump(viewJson(*opened(view))));
  });
}

int ctfmeg_times(ctfmeg_view* view, int64_t trial, double* seconds, int64_t count, ctfmeg_error* error) {
  return guarded(error, [&] {
    const auto of = opened(view);
    if (count != 0) require(seconds, "seconds");
    requireRange("samples", 0, count, of->source->shape().samples);
    requireRange("trials", trial, 1, of->source->shape().trials);
    for (std::int64_t i = 0; i < count; ++i)
      seconds[i] = of->source->time(trial, i);
  });
}

int ctfmeg_find_channels(ctfmeg_view* view, const char* selection, int64_t* places, int64_t room,
                         int64_t* count, ctfmeg_error* error) {
  return guarded(error, [&] {
    require(count, "count");
    if (room < 0) throw Misuse("the room is negative");
    const auto of = opened(view);
    const auto chosen =
        chosenChannels(wantedChannelsOf(selection), of->source->channels(), of->of->recording.resourceFile());
    const auto fit = std::min<std::int64_t>(room, std::ssize(chosen));
    if (fit > 0) require(places, "places");
    std::copy_n(chosen.begin(), fit, places);
    *count = std::ssize(chosen);
  });
}

int ctfmeg_read(ctfmeg_view* view, const ctfmeg_part* part, int type, int values, void* out, size_t bytes,
                ctfmeg_progress_function progress, void* user, ctfmeg_error* error) {
  return guarded(error, [&] {
    const auto of = opened(view);
    if (values != CTFMEG_RAW && values != CTFMEG_PHYSICAL)
      throw Misuse("the values must be CTFMEG_RAW or CTFMEG_PHYSICAL");
    about(of->of->recording.resourceFile(), [&] {
      ctfmeg_part given = known(part, "part");
      if (part == nullptr) given.samples = -1;
      const PartReading reading(*of, given);
      reading.read(type, values == CTFMEG_RAW ? Values::raw : Values::physical, out, bytes,
                   progressOf(progress, user));
    });
  });
}
}
