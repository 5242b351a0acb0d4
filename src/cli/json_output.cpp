#include "cli/json_output.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli/identity.h"
#include "cli/visible_text.h"
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

Json pointJson(const DigitisedPoint& point) {
  return {{"number", point.number}, {"position", point.positionCm}};
}

Json labelJson(const DigitisedFiducial& fiducial) {
  return {{"label", fiducial.label}, {"position", fiducial.positionCm}};
}

Json electrodeJson(const Electrode& electrode) {
  return {{"number", electrode.number}, {"name", electrode.name}, {"position", electrode.positionCm}};
}

Json segmentJson(const BadSegment& segment) {
  return {{"trial", segment.trial}, {"startMs", segment.startMs}, {"endMs", segment.endMs}};
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

Json errorJson(const std::string& path, const Error& error) {
  return {{"kind", nameOf(error.kind())}, {"text", reasonOf(path, error)}};
}

std::string dump(const Json& json) {
  return harmlessJson(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

/// Writes an object or a list piece by piece: a recording may have a great many of everything.
class PieceByPiece {
 public:
  PieceByPiece(std::ostream& out, char open, char close, int depth)
      : m_out(out), m_close(close), m_indent(static_cast<std::size_t>(depth) * 2, ' ') {
    m_out << open;
  }
  PieceByPiece(const PieceByPiece&) = delete;
  PieceByPiece& operator=(const PieceByPiece&) = delete;

  /// Begins the next element of a list.
  std::ostream& next() {
    m_out << (m_empty ? "\n" : ",\n") << m_indent << "  ";
    m_empty = false;
    return m_out;
  }
  /// Begins the next member of an object.
  std::ostream& next(const std::string& key) { return next() << dump(key) << ": "; }

  void end() { m_out << (m_empty ? "" : "\n" + m_indent) << m_close; }

 private:
  std::ostream& m_out;
  char m_close;
  std::string m_indent;
  bool m_empty = true;
};

template <class List, class Convert>
void writeList(std::ostream& out, const List& list, int depth, Convert convert) {
  PieceByPiece elements(out, '[', ']', depth);
  for (const auto& item : list)
    elements.next() << dump(convert(item));
  elements.end();
}

/// A tag that was set several times has its last value, where it was set first.
void writeInformation(std::ostream& out, const Information& information, bool noIdentity) {
  std::unordered_map<std::string_view, const InformationEntry*> last;
  for (const InformationEntry& entry : information.entries)
    last[entry.tag] = &entry;
  PieceByPiece members(out, '{', '}', 1);
  for (const InformationEntry& entry : information.entries) {
    const auto found = last.extract(entry.tag);
    if (found.empty() || (noIdentity && canIdentify(*found.mapped()))) continue;
    std::visit([&](const auto& value) { members.next(entry.tag) << dump(value); }, found.mapped()->value);
  }
  members.end();
}

}  // namespace

void JsonOutput::beginEntry() {
  if (m_entries != 1) m_out << (m_written == 0 ? "[\n" : ",\n");
  ++m_written;
}

void JsonOutput::end() { m_out << (m_entries == 1 ? "\n" : "\n]\n"); }

void JsonOutput::add(const std::string& path, Rules rules, const Recording& recording) {
  beginEntry();
  PieceByPiece object(m_out, '{', '}', 0);
  const auto list = [&](const char* key, const auto& items, auto convert) {
    object.next(key);
    writeList(m_out, items, 1, convert);
  };
  object.next("schema") << kSchema;
  object.next("path") << dump(shownPath(path, m_noIdentity));
  object.next("dataset") << dump(recording.name());
  object.next("rules") << (rules == Rules::plain ? R"("plain")" : R"("host")");
  object.next("record") << dump(recordJson(recording.record(), m_noIdentity));
  if (!recording.trialNumbers().empty()) {
    object.next("storedTrials") << recording.trialNumbers().size();
    std::vector<std::int64_t> fileTrials;
    for (const int number : recording.trialNumbers())
      fileTrials.push_back(recording.trial(number).origin().fileTrial);
    object.next("trialNumbers") << dump(fileTrials);
  }
  list("channels", recording.channels(), channelJson);
  list("coefficients", recording.coefficients(), coefficientJson);
  list("markers", recording.markers(),
       [&](const Marker& marker) { return markerJson(marker, m_noIdentity); });
  list("classes", recording.classes(),
       [&](const TrialClass& group) { return classJson(group, m_noIdentity); });
  object.next("fiducials") << dump(fiducialsJson(recording.fiducials()));
  list("electrodes", recording.electrodes(), electrodeJson);
  object.next("digitised");
  PieceByPiece digitised(m_out, '{', '}', 1);
  digitised.next("points");
  writeList(m_out, recording.digitised().points, 2, pointJson);
  digitised.next("fiducials");
  writeList(m_out, recording.digitised().fiducials, 2, labelJson);
  digitised.end();
  object.next("infods");
  writeInformation(m_out, recording.information(), m_noIdentity);
  if (!m_noIdentity) object.next("infodsText") << dump(recording.information().text);
  object.next("badChannels") << dump(shownBadChannels(recording, m_noIdentity));
  list("badSegments", recording.badSegments(), segmentJson);
  list("virtualChannels", recording.virtualChannels(), virtualChannelJson);
  std::vector<Finding> shown;
  for (const Finding& finding : recording.warnings())
    if (mayBeShown(finding, m_noIdentity)) shown.push_back(finding);
  list("warnings", shown, warningJson);
  object.end();
}

void JsonOutput::add(const std::string& path, const Error& error) {
  beginEntry();
  m_out << dump(
      Json{{"schema", kSchema}, {"path", shownPath(path, m_noIdentity)}, {"error", errorJson(path, error)}});
}

void JsonLines::add(const ScannedDataset& scanned, bool noIdentity) {
  Json entry{{"path", shownPath(scanned.path, noIdentity)}};
  if (const auto& header = scanned.header) {
    if (!noIdentity) {
      entry["subject"] = header->subject;
      entry["date"] = header->date;
      entry["time"] = header->time;
    }
    entry["channels"] = header->channels;
    entry["trials"] = header->trials;
    entry["samplesPerTrial"] = header->samplesPerTrial;
    entry["sampleRate"] = header->sampleRate;
    entry["durationSeconds"] = header->durationSeconds;
  }
  entry["bytes"] = scanned.bytes;
  entry["status"] = scanned.header ? "ok" : "error";
  if (!scanned.header) entry["error"] = scanned.error;
  m_out << (m_empty ? "[\n" : ",\n") << dump(entry);
  m_empty = false;
}

void JsonLines::end() { m_out << (m_empty ? "[]\n" : "\n]\n"); }

void writeCheck(std::ostream& out, const std::string& path, const char* verdict, const Error* error,
                const std::vector<Finding>& findings, bool noIdentity) {
  PieceByPiece object(out, '{', '}', 0);
  object.next("schema") << kSchema;
  object.next("path") << dump(shownPath(path, noIdentity));
  object.next("verdict") << dump(verdict);
  if (error != nullptr) object.next("error") << dump(errorJson(path, *error));
  object.next("findings");
  writeList(out, findings, 1, warningJson);
  object.end();
  out << '\n';
}

}  // namespace ctfmeg::cli
