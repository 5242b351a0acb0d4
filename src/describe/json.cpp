#include "describe/json.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "base/dates.h"
#include "describe/parts_json.h"
#include "output/json.h"

namespace ctfmeg::describe {
namespace {

using output::dump;
using output::Json;
using output::JsonPieces;
using output::writeJsonList;

constexpr int kSchema = 1;

/// The unit and the frame or zero of what a key or, after a point, its members hold.
struct Measure {
  const char* key;
  const char* unit;
  const char* frame;  ///< null where the unit says it all
};

constexpr const char* kDewar = "dewar: x right, y front, z up";
constexpr const char* kHead = "head: x right, y front, z up";
constexpr const char* kCtfHead = "CTF head: x front, y left, z up";
constexpr const char* kTrigger = "from the trigger";
constexpr const char* kTrialStart = "from the first sample of the trial";
constexpr const char* kRunStart = "from the first sample of trial 0, gaps included";

/// Every list that holds positions or times.
constexpr Measure kMeasures[] = {
    {"dewarCoils", "cm", kDewar},
    {"dewarCoils.orientation", "1", kDewar},
    {"dewarCoils.area", "cm^2", nullptr},
    {"headCoils", "cm", kHead},
    {"headCoils.orientation", "1", kHead},
    {"headCoils.area", "cm^2", nullptr},
    {"fiducials", "mm", "of each set its own"},
    {"dewarStandard", "mm", kDewar},
    {"dewarMeasured", "mm", kDewar},
    {"headMeasured", "mm", kHead},
    {"dewarToHead", "mm", "from dewar: x right, y front, z up; to head: x right, y front, z up"},
    {"electrodes", "cm", kCtfHead},
    {"digitised", "cm", kCtfHead},
    {"markers.timeMs", "ms", kTrigger},
    {"markers.runTime", "s", kRunStart},
    {"badSegments.startMs", "ms", kTrialStart},
    {"badSegments.endMs", "ms", kTrialStart},
    {"badSegments.runTime", "s", kRunStart},
    {"timing.firstTime", "s", "from the trigger; of a run from its start"},
    {"timing.gaps.seconds", "s", nullptr},
};

void writeMeasures(JsonPieces& object) {
  Json units, frames;
  for (const Measure& measure : kMeasures) {
    units[measure.key] = measure.unit;
    if (measure.frame != nullptr) frames[measure.key] = measure.frame;
  }
  object.next("units") << dump(units);
  object.next("frames") << dump(frames);
}

Json errorJson(const ShownError& error) { return {{"kind", nameOf(error.kind)}, {"text", error.reason}}; }

void writeInformation(std::ostream& out, const Information& information) {
  JsonPieces members(out, '{', '}', 1);
  for (const InformationEntry& entry : information.entries)
    std::visit([&](const auto& value) { members.next(entry.tag) << dump(value); }, entry.value);
  members.end();
}

void writeDataset(std::ostream& out, const ShownDataset& dataset) {
  JsonPieces object(out, '{', '}', 0);
  const auto list = [&](const char* key, const auto& items, auto convert) {
    object.next(key);
    writeJsonList(out, items, 1, convert);
  };
  object.next("schema") << kSchema;
  object.next("path") << dump(dataset.path);
  object.next("dataset") << dump(dataset.name);
  object.next("rules") << (dataset.rules == Rules::plain ? R"("plain")" : R"("host")");
  object.next("record") << dump(recordJson(dataset.record, dataset.redacted));
  const std::string start = isoDateTime(dataset.record.dataDate, dataset.record.dataTime);
  if (!dataset.redacted) object.next("startTime") << (start.empty() ? "null" : dump(start));
  if (dataset.stored) {
    object.next("storedTrials") << dataset.stored->fileTrials.size();
    object.next("trialNumbers") << dump(dataset.stored->fileTrials);
  }
  object.next("files") << (dataset.files ? dump(filesJson(*dataset.files)) : "null");
  object.next("timing") << dump(timingJson(dataset.timing));
  writeMeasures(object);
  list("channels", dataset.channels, channelJson);
  object.next("compensation") << dump(compensationJson(dataset.compensation));
  list("coefficients", dataset.coefficients, coefficientJson);
  list("markers", dataset.markers, [&](const Marker& marker) { return markerJson(marker, dataset); });
  list("classes", dataset.classes,
       [&](const TrialClass& group) { return classJson(group, dataset.redacted); });
  object.next("fiducials") << dump(fiducialsJson(dataset.fiducials));
  list("electrodes", dataset.electrodes, electrodeJson);
  object.next("digitised");
  JsonPieces digitised(out, '{', '}', 1);
  digitised.next("points");
  writeJsonList(out, dataset.digitised.points, 2, pointJson);
  digitised.next("fiducials");
  writeJsonList(out, dataset.digitised.fiducials, 2, labelJson);
  digitised.end();
  object.next("infods");
  writeInformation(out, dataset.information);
  if (!dataset.redacted) object.next("infodsText") << dump(dataset.information.text);
  object.next("badChannels") << dump(dataset.badChannels);
  list("badSegments", dataset.badSegments,
       [&](const BadSegment& segment) { return segmentJson(segment, dataset); });
  list("virtualChannels", dataset.virtualChannels, virtualChannelJson);
  list("warnings", dataset.findings, warningJson);
  object.end();
}

}  // namespace

void InfoJson::add(const ShownDataset& dataset) {
  if (m_entries != 1) m_out << (m_written == 0 ? "[\n" : ",\n");
  ++m_written;
  if (dataset.error)
    m_out << dump(Json{{"schema", kSchema}, {"path", dataset.path}, {"error", errorJson(*dataset.error)}});
  else
    writeDataset(m_out, dataset);
}

void InfoJson::end() { m_out << (m_entries == 1 ? "\n" : "\n]\n"); }

void writeCheck(std::ostream& out, const ShownDataset& dataset, const char* verdict) {
  JsonPieces object(out, '{', '}', 0);
  object.next("schema") << kSchema;
  object.next("path") << dump(dataset.path);
  object.next("verdict") << dump(verdict);
  if (dataset.error) object.next("error") << dump(errorJson(*dataset.error));
  object.next("findings");
  writeJsonList(out, dataset.findings, 1, warningJson);
  object.end();
}

std::string infoJson(const std::string& path, const Recording& recording) {
  std::ostringstream out;
  const SelectedSamples all{recording.record(), nullptr, false, aboutSamples(recording)};
  writeDataset(out, described(path, recording, all, kMostTrials));
  return out.str();
}

std::string findingJson(const Finding& finding) { return dump(warningJson(finding)); }

std::string findingsJson(const std::vector<Finding>& findings) {
  std::ostringstream out;
  writeJsonList(out, findings, 0, warningJson);
  return out.str();
}

}  // namespace ctfmeg::describe
