#include "cli/description.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "describe/parts_json.h"
#include "output/json.h"

namespace ctfmeg::cli {

using output::Json;

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

std::string descriptionOf(const ArrayDescription& array, const ReadingOptions& options) {
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
  output::writeJsonList(out, source.channels(), 1, [&](const Channel& channel) {
    return describe::arrayChannelJson(channel, array.values);
  });
  object.next("sampleRate") << output::dump(source.sampleRate());
  object.next("times") << output::dump(
      Json{{"first", source.time(0, 0)}, {"step", 1.0 / source.sampleRate()}});
  object.next("trials");
  output::JsonPieces trials(out, '[', ']', 1);
  const auto& epochs = array.selected.epochs;
  for (std::int64_t t = 0; t < source.shape().trials && !isRun && !array.isAverage; ++t)
    trials.next() << output::dump(describe::arrayTrialJson(
        source.origin(t), epochs.empty() ? nullptr : &epochs[static_cast<std::size_t>(t)]));
  trials.end();
  object.next("pieces");
  output::writeJsonList(out, isRun ? source.pieces(0) : std::vector<Piece>(), 1,
                        [&](const Piece& piece) { return describe::pieceJson(piece, source); });
  object.next("gaps");
  output::writeJsonList(out, source.gaps(), 1, describe::gapJson);
  if (array.isAverage) {
    object.next("epochs") << array.selected.source->shape().trials;
    object.next("values") << output::dump(Json{"mean", "standardError"});
  }
  if (!epochs.empty()) object.next("leftOut") << output::dump(describe::leftOutJson(array.selected.leftOut));
  Json asked = Json::object();
  for (const auto& [name, value] : array.asked)
    asked[name] = value.empty() ? Json(true) : Json(value);
  object.next("selection") << output::dump(asked);
  object.end();
  out << '\n';
  return out.str();
}

}  // namespace ctfmeg::cli
