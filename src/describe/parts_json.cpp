#include "describe/parts_json.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include <ctfmeg/record_fields.h>

namespace ctfmeg::describe {

using output::Json;

namespace {

std::string colorText(std::uint32_t rgb) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "#%06x", static_cast<unsigned>(rgb & 0xFFFFFF));
  return text.data();
}

/// A visitor that puts the members of `from` into `object`, of a redacted one only those that can't name a
/// person.
template <class Struct>
auto putInto(Json& object, const Struct& from, bool redacted) {
  return [&object, &from, redacted](const char* name, auto member, bool identifying) {
    if (!redacted || !identifying) object[name] = member(from);
  };
}

Json coilsJson(const std::vector<Coil>& coils) {
  Json list = Json::array();
  for (const Coil& coil : coils)
    list.push_back({{"position", coil.positionCm},
                    {"orientation", coil.orientation},
                    {"turns", coil.turns},
                    {"area", coil.areaCm2}});
  return list;
}

template <class List, class Convert>
Json listJson(const List& list, Convert convert) {
  Json array = Json::array();
  for (const auto& item : list)
    array.push_back(convert(item));
  return array;
}

Json groupJson(const EventGroup& group, bool redacted) {
  Json object{{"name", group.name}};
  if (!redacted) object["comment"] = group.comment;
  object["color"] = group.color ? Json(colorText(*group.color)) : Json();
  object["editable"] = group.editable;
  object["classId"] = group.classId;
  object["classGroupId"] = group.classGroupId;
  return object;
}

Json orNull(const std::optional<double>& value) { return value ? Json(*value) : Json(); }

Json fiducialSetJson(const std::optional<FiducialSet>& set) {
  if (!set) return {};
  Json object{{"numPoints", set->numPoints}};
  for (const auto& [name, point] : kFiducialNames)
    object[name] = (*set).*point ? Json(*((*set).*point)) : Json();
  return object;
}

}  // namespace

Json recordJson(const RecordInfo& record, bool redacted) {
  Json object;
  forEachRecordField(putInto(object, record, redacted));
  object["filters"] = Json::array();
  for (const Filter& filter : record.filters) {
    Json entry;
    forEachFilterField(putInto(entry, filter, redacted));
    entry["params"] = filter.params;
    object["filters"].push_back(std::move(entry));
  }
  return object;
}

Json channelJson(const Channel& channel) {
  Json object{{"index", channel.index},         {"name", channel.name},
              {"shortName", channel.shortName}, {"sensorType", channel.sensorType},
              {"kind", nameOf(channel.kind)},   {"unit", channel.unit},
              {"gain", channel.gain},           {"good", channel.good}};
  forEachSensorField(putInto(object, channel, false));
  object["gradientOrder"] = gradientOrderOf(channel) ? Json(channel.gradientOrder) : Json();
  object["polarity"] = channel.polarity;
  object["dewarCoils"] = coilsJson(channel.dewarCoils);
  object["headCoils"] = coilsJson(channel.headCoils);
  return object;
}

Json compensationJson(const CompensationOrders& orders) {
  return {{"stored", orders.stored ? Json(*orders.stored) : Json()}, {"available", orders.available}};
}

Json coefficientJson(const CoefficientRecord& record) {
  Json object{{"sensor", record.sensor}};
  const std::string type = coefficientTypeName(record.type);
  if (type.empty())
    object["type"] = record.type;
  else
    object["type"] = type;
  object["references"] = Json::array();
  for (const Coefficient& coefficient : record.references)
    object["references"].push_back({{"name", coefficient.reference}, {"value", coefficient.value}});
  return object;
}

Json markerJson(const Marker& marker, const ShownDataset& dataset) {
  Json object = groupJson(marker, dataset.redacted);
  object["numSamples"] = marker.numSamples;
  object["samples"] = listJson(marker.samples, [&](const MarkerSample& sample) {
    return Json{{"trial", sample.trial},
                {"timeMs", sample.timeMs},
                {"sample", sample.sample},
                {"runTime", orNull(runTime(dataset, sample))}};
  });
  return object;
}

Json classJson(const TrialClass& trialClass, bool redacted) {
  Json object = groupJson(trialClass, redacted);
  object["numTrials"] = trialClass.numTrials;
  object["trials"] = trialClass.trials ? Json(*trialClass.trials) : Json();
  return object;
}

Json fiducialsJson(const Fiducials& fiducials) {
  Json object;
  for (const auto& [name, set] : kFiducialSetNames)
    object[name] = fiducialSetJson(fiducials.*set);
  object["dewarToHead"] = fiducials.dewarToHead ? Json(*fiducials.dewarToHead) : Json();
  return object;
}

Json pointJson(const DigitisedPoint& point) {
  return {{"number", point.number}, {"position", point.positionCm}};
}

Json labelJson(const DigitisedFiducial& fiducial) {
  return {{"label", fiducial.label}, {"position", fiducial.positionCm}};
}

Json electrodeJson(const Electrode& electrode) {
  return {{"number", electrode.number}, {"name", electrode.name}, {"position", electrode.positionCm}};
}

Json segmentJson(const BadSegment& segment, const ShownDataset& dataset) {
  return {{"trial", segment.trial},
          {"startMs", segment.startMs},
          {"endMs", segment.endMs},
          {"runTime", orNull(runTime(dataset, segment))}};
}

Json filesJson(const SampleFiles& files) {
  Json object{{"count", files.count},           {"bytes", files.bytes},    {"trialsThere", files.trialsThere},
              {"trialsSaid", files.trialsSaid}, {"partialTrial", nullptr}, {"extraBytes", files.extraBytes}};
  if (const auto& partial = files.partialTrial)
    object["partialTrial"] = {{"channels", partial->channels}, {"samples", partial->samples}};
  return object;
}

Json timingJson(const Timing& timing) {
  return {{"sampleRate", timing.sampleRate},
          {"firstTime", timing.firstTime},
          {"acquisitionRate", timing.acquisitionRate},
          {"trialsAdjoin", timing.trialsAdjoin ? Json(*timing.trialsAdjoin) : Json()},
          {"gaps", listJson(timing.gaps, gapJson)}};
}

Json virtualChannelJson(const VirtualChannel& channel) {
  return {{"name", channel.name},
          {"unit", channel.unit},
          {"references", listJson(channel.references, [](const VirtualChannel::Reference& reference) {
             return Json{{"channel", reference.channel}, {"weight", reference.weight}};
           })}};
}

Json warningJson(const Finding& finding) {
  Json object{
      {"severity", nameOf(finding.severity)}, {"code", finding.code}, {"file", lastName(finding.file)}};
  if (finding.line) object["line"] = *finding.line;
  if (finding.offset) object["offset"] = *finding.offset;
  object["text"] = finding.text;
  return object;
}

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

Json pieceJson(const Piece& piece, const SampleSource& source) {
  return {{"trial", piece.fileTrial},
          {"firstSample", piece.firstSample},
          {"at", piece.at},
          {"time", source.time(0, piece.at)}};
}

Json gapJson(const Gap& gap) {
  return {{"afterTrial", gap.afterTrial}, {"seconds", gap.seconds}, {"samples", gap.samples}};
}

Json leftOutJson(const LeftOut& leftOut) {
  return {{"incomplete", leftOut.incomplete}, {"bad", leftOut.bad}, {"rejected", leftOut.rejected}};
}

}  // namespace ctfmeg::describe
