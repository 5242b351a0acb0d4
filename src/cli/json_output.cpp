#include "cli/json_output.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "cli/identity.h"
#include "host/path_text.h"
#include "host/record_fields.h"

namespace ctfmeg::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchema = 1;

std::string colorText(std::uint32_t rgb) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "#%06x", static_cast<unsigned>(rgb & 0xFFFFFF));
  return text.data();
}

/// A visitor that puts the members of `from` into `object`.
template <class Struct>
auto putInto(Json& object, const Struct& from, bool noIdentity) {
  return [&object, &from, noIdentity](const char* name, auto member, bool identifying) {
    if (!noIdentity || !identifying) object[name] = member(from);
  };
}

Json recordJson(const RecordInfo& record, bool noIdentity) {
  Json object;
  forEachRecordField(putInto(object, record, noIdentity));
  object["filters"] = Json::array();
  for (const Filter& filter : record.filters) {
    Json entry;
    forEachFilterField(putInto(entry, filter, noIdentity));
    entry["params"] = filter.params;
    object["filters"].push_back(std::move(entry));
  }
  return object;
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

Json channelJson(const Channel& channel) {
  Json object{{"index", channel.index},         {"name", channel.name},
              {"shortName", channel.shortName}, {"sensorType", channel.sensorType},
              {"kind", nameOf(channel.kind)},   {"unit", channel.unit},
              {"gain", channel.gain},           {"good", channel.good}};
  forEachSensorField(putInto(object, channel, false));
  object["dewarCoils"] = coilsJson(channel.dewarCoils);
  object["headCoils"] = coilsJson(channel.headCoils);
  return object;
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

template <class List, class Convert>
Json listJson(const List& list, Convert convert) {
  Json array = Json::array();
  for (const auto& item : list)
    array.push_back(convert(item));
  return array;
}

Json groupJson(const EventGroup& group, bool noIdentity) {
  Json object{{"name", group.name}};
  if (!noIdentity) object["comment"] = group.comment;
  object["color"] = group.color ? Json(colorText(*group.color)) : Json();
  object["editable"] = group.editable;
  object["classId"] = group.classId;
  object["classGroupId"] = group.classGroupId;
  return object;
}

Json markerJson(const Marker& marker, bool noIdentity) {
  Json object = groupJson(marker, noIdentity);
  object["numSamples"] = marker.numSamples;
  object["samples"] = listJson(marker.samples, [](const MarkerSample& sample) {
    return Json{{"trial", sample.trial}, {"timeMs", sample.timeMs}, {"sample", sample.sample}};
  });
  return object;
}

Json classJson(const TrialClass& trialClass, bool noIdentity) {
  Json object = groupJson(trialClass, noIdentity);
  object["numTrials"] = trialClass.numTrials;
  object["trials"] = trialClass.trials ? Json(*trialClass.trials) : Json();
  return object;
}

Json fiducialSetJson(const std::optional<FiducialSet>& set) {
  if (!set) return {};
  Json object{{"numPoints", set->numPoints}};
  for (const auto& [name, point] : kFiducialNames)
    object[name] = (*set).*point ? Json(*((*set).*point)) : Json();
  return object;
}

Json fiducialsJson(const Fiducials& fiducials) {
  Json object;
  for (const auto& [name, set] : kFiducialSetNames)
    object[name] = fiducialSetJson(fiducials.*set);
  object["dewarToHead"] = fiducials.dewarToHead ? Json(*fiducials.dewarToHead) : Json();
  return object;
}

Json digitisedJson(const Digitised& digitised) {
  return {{"points", listJson(digitised.points,
                              [](const DigitisedPoint& point) {
                                return Json{{"number", point.number}, {"position", point.positionCm}};
                              })},
          {"fiducials", listJson(digitised.fiducials, [](const DigitisedFiducial& fiducial) {
             return Json{{"label", fiducial.label}, {"position", fiducial.positionCm}};
           })}};
}

Json informationJson(const Information& information, bool noIdentity) {
  Json object = Json::object();
  for (const InformationEntry& entry : information.entries)
    if (!noIdentity || !canIdentify(entry))
      std::visit([&](const auto& value) { object[entry.tag] = value; }, entry.value);
  return object;
}

Json virtualChannelJson(const VirtualChannel& channel) {
  return {{"name", channel.name},
          {"unit", channel.unit},
          {"references", listJson(channel.references, [](const VirtualChannel::Reference& reference) {
             return Json{{"channel", reference.channel}, {"weight", reference.weight}};
           })}};
}

Json warningJson(const Finding& finding) {
  Json object{{"severity", finding.severity == Finding::Severity::remark ? "remark" : "warning"},
              {"code", finding.code},
              {"file", lastName(finding.file)}};
  if (finding.line) object["line"] = *finding.line;
  if (finding.offset) object["offset"] = *finding.offset;
  object["text"] = finding.text;
  return object;
}

std::string dump(const Json& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace); }

}  // namespace

void JsonOutput::add(const std::string& path, Rules rules, const Recording& recording) {
  Json object{{"schema", kSchema},
              {"path", shownPath(path, m_noIdentity)},
              {"dataset", recording.name()},
              {"rules", rules == Rules::plain ? "plain" : "host"}};
  object["record"] = recordJson(recording.record(), m_noIdentity);
  if (!recording.trialNumbers().empty()) {
    object["storedTrials"] = recording.trialNumbers().size();
    object["trialNumbers"] = listJson(recording.trialNumbers(), [&recording](int number) {
      return recording.trial(number).origin().fileTrial;
    });
  }
  object["channels"] = listJson(recording.channels(), channelJson);
  object["coefficients"] = listJson(recording.coefficients(), coefficientJson);
  object["markers"] = listJson(recording.markers(),
                               [this](const Marker& marker) { return markerJson(marker, m_noIdentity); });
  object["classes"] = listJson(recording.classes(),
                               [this](const TrialClass& group) { return classJson(group, m_noIdentity); });
  object["fiducials"] = fiducialsJson(recording.fiducials());
  object["electrodes"] = listJson(recording.electrodes(), [](const Electrode& electrode) {
    return Json{{"number", electrode.number}, {"name", electrode.name}, {"position", electrode.positionCm}};
  });
  object["digitised"] = digitisedJson(recording.digitised());
  object["infods"] = informationJson(recording.information(), m_noIdentity);
  if (!m_noIdentity) object["infodsText"] = recording.information().text;
  object["badChannels"] = shownBadChannels(recording, m_noIdentity);
  object["badSegments"] = listJson(recording.badSegments(), [](const BadSegment& segment) {
    return Json{{"trial", segment.trial}, {"startMs", segment.startMs}, {"endMs", segment.endMs}};
  });
  object["virtualChannels"] = listJson(recording.virtualChannels(), virtualChannelJson);
  object["warnings"] = Json::array();
  for (const Finding& finding : recording.warnings())
    if (mayBeShown(finding, m_noIdentity)) object["warnings"].push_back(warningJson(finding));
  m_entries.push_back(dump(object));
}

void JsonOutput::add(const std::string& path, const Error& error) {
  const std::string file = textOf(error.path());
  const std::string text = file == path ? error.text() : lastName(file) + ": " + error.text();
  m_entries.push_back(dump(Json{{"schema", kSchema},
                                {"path", shownPath(path, m_noIdentity)},
                                {"error", {{"kind", nameOf(error.kind())}, {"text", text}}}}));
}

std::string JsonOutput::text() const {
  if (m_entries.size() == 1) return m_entries.front() + "\n";
  std::string all = "[\n";
  for (std::size_t i = 0; i < m_entries.size(); ++i)
    all += (i == 0 ? "" : ",\n") + m_entries[i];
  return all + "\n]\n";
}

}  // namespace ctfmeg::cli
