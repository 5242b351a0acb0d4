#include "cli/description.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/shown.h"
#include "output/json.h"

namespace ctfmeg::cli {
namespace {

using output::Json;

Json arrayChannelJson(const Channel& channel, Values values) {
  return {{"name", channel.name},
          {"shortName", channel.shortName},
          {"kind", nameOf(channel.kind)},
          {"unit", values == Values::physical ? channel.unit : "1"},
          {"good", channel.good}};
}

Json arrayTrialJson(const Origin& origin, const Occurrence* epoch) {
  return {
      {"origin", {{"trial", origin.fileTrial}, {"firstSample", origin.firstSample}, {"step", origin.step}}},
      {"marker", epoch == nullptr ? Json() : Json(epoch->name)},
      {"timeMs", epoch == nullptr ? Json() : Json(epoch->timeMs)}};
}

}  // namespace

std::vector<std::int64_t> ArrayDescription::shape() const {
  const Shape shape = source.shape();
  if (selected.isRun && !isAverage) return {shape.channels, shape.samples};
  return {shape.trials, shape.channels, shape.samples};
}

std::string ArrayDescription::shapeText() const {
  std::string text;
  for (const std::int64_t extent : shape())
    text += (text.empty() ? "" : " x ") + std::to_string(extent);
  return text;
}

std::string describe(const ArrayDescription& array, const ReadingOptions& options) {
  const SampleSource& source = array.source;
  const bool isRun = array.selected.isRun && !array.isAverage;
  std::ostringstream out;
  output::JsonPieces object(out, '{', '}', 0);
  object.next("schema") << 1;
  object.next("dataset") << output::dump(shown(array.dataset, options));
  object.next("rules") << (array.recording.rules() == Rules::plain ? R"("plain")" : R"("host")");
  object.next("shape") << output::dump(array.shape());
  object.next("dtype") << output::dump(array.descr);
  object.next("channels");
  output::writeJsonList(out, source.channels(), 1,
                        [&](const Channel& channel) { return arrayChannelJson(channel, array.values); });
  object.next("sampleRate") << output::dump(source.sampleRate());
  object.next("times") << output::dump(
      Json{{"first", source.time(0, 0)}, {"step", 1.0 / source.sampleRate()}});
  object.next("trials");
  output::JsonPieces trials(out, '[', ']', 1);
  const auto& epochs = array.selected.epochs;
  for (std::int64_t t = 0; t < source.shape().trials && !isRun && !array.isAverage; ++t)
    trials.next() << output::dump(
        arrayTrialJson(source.origin(t), epochs.empty() ? nullptr : &epochs[static_cast<std::size_t>(t)]));
  trials.end();
  object.next("pieces");
  output::writeJsonList(out, isRun ? source.pieces(0) : std::vector<Piece>(), 1, [&](const Piece& piece) {
    return Json{{"trial", piece.fileTrial},
                {"firstSample", piece.firstSample},
                {"at", piece.at},
                {"time", source.time(0, piece.at)}};
  });
  object.next("gaps");
  output::writeJsonList(out, source.gaps(), 1, [](const Gap& gap) {
    return Json{{"afterTrial", gap.afterTrial}, {"seconds", gap.seconds}, {"samples", gap.samples}};
  });
  if (array.isAverage) {
    object.next("epochs") << array.selected.source->shape().trials;
    object.next("values") << output::dump(Json{"mean", "standardError"});
  }
  if (!epochs.empty()) {
    const LeftOut& count = array.selected.leftOut;
    object.next("leftOut") << output::dump(
        Json{{"incomplete", count.incomplete}, {"bad", count.bad}, {"rejected", count.rejected}});
  }
  Json asked = Json::object();
  for (const auto& [name, value] : array.asked)
    asked[name] = value.empty() ? Json(true) : Json(value);
  object.next("selection") << output::dump(asked);
  object.end();
  out << '\n';
  return out.str();
}

}  // namespace ctfmeg::cli
