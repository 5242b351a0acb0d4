#include <ctfmeg/inspect.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>

#include "base/finding_codes.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/record_fields.h>

namespace ctfmeg {
inline namespace v1 {
namespace {

/// Findings about the files of one dataset.
class Notes {
 public:
  explicit Notes(const std::filesystem::path& resourceFile) : m_resourceFile(resourceFile) {}

  void resource(Code code, const std::string& text) { add(code, m_resourceFile, text); }
  void file(const std::string& name, Code code, const std::string& text) {
    add(code, m_resourceFile.parent_path() / pathFromText(name), text);
  }
  std::vector<Finding> take() { return std::move(m_findings); }

 private:
  void add(Code code, const std::filesystem::path& file, const std::string& text) {
    m_findings.push_back({Finding::Severity::warning, wordOf(code), textOf(file), text});
  }

  std::filesystem::path m_resourceFile;
  std::vector<Finding> m_findings;
};

constexpr const char* kMarkerFile = "MarkerFile.mrk";
constexpr const char* kClassFile = "ClassFile.cls";

std::string counted(std::size_t count, const char* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

bool isTrial(const RecordInfo& record, std::int32_t trial) { return trial >= 0 && trial < record.numTrials; }

void inspectMarkers(const Recording& recording, Notes& notes) {
  const RecordInfo& record = recording.record();
  for (const Marker& marker : recording.markers()) {
    std::size_t outside = 0;
    std::string first;
    for (const MarkerSample& sample : marker.samples) {
      const bool inTrial = sample.sample >= 0 && sample.sample < record.samplesPerTrial;
      if (isTrial(record, sample.trial) && inTrial) continue;
      if (outside++ == 0)
        first = "trial " + std::to_string(sample.trial) + ", sample " + std::to_string(sample.sample);
    }
    if (outside > 0)
      notes.file(kMarkerFile, Code::markerOutside,
                 "places " + counted(outside, "occurrence") + " of marker " + marker.name +
                     " outside the trials, the first at " + first);
  }
}

void inspectClasses(const Recording& recording, Notes& notes) {
  for (const TrialClass& group : recording.classes()) {
    if (!group.trials) continue;
    const auto isMissing = [&](std::int32_t trial) { return !isTrial(recording.record(), trial); };
    const auto first = std::find_if(group.trials->begin(), group.trials->end(), isMissing);
    if (first == group.trials->end()) continue;
    const auto missing = static_cast<std::size_t>(std::count_if(first, group.trials->end(), isMissing));
    notes.file(kClassFile, Code::classOutside,
               "lists " + counted(missing, "trial") + " in class " + group.name +
                   " that the run does not have, the first is " + std::to_string(*first));
  }
}

void inspectSegments(const Recording& recording, Notes& notes) {
  const RecordInfo& record = recording.record();
  const double lengthMs = 1000.0 * record.samplesPerTrial / record.sampleRate;
  const double sampleMs = 1000.0 / record.sampleRate;  // ends are rounded one way or the other
  const auto isOutside = [&](const BadSegment& segment) {
    return !isTrial(record, segment.trial) || segment.startMs < -sampleMs ||
           segment.endMs > lengthMs + sampleMs || segment.endMs < segment.startMs;
  };
  const auto& segments = recording.badSegments();
  const auto first = std::find_if(segments.begin(), segments.end(), isOutside);
  if (first == segments.end()) return;
  const auto outside = static_cast<std::size_t>(std::count_if(first, segments.end(), isOutside));
  notes.file("bad.segments", Code::segmentOutside,
             "has " + counted(outside, "segment") + " outside the trials, the first in trial " +
                 std::to_string(first->trial));
}

/// Full and short names of channels.
std::unordered_set<std::string_view> namesOfChannels(const Recording& recording) {
  std::unordered_set<std::string_view> names;
  for (const Channel& channel : recording.channels()) {
    names.insert(channel.name);
    names.insert(channel.shortName);
  }
  return names;
}

void inspectNames(const Recording& recording, Notes& notes) {
  std::unordered_set<std::string_view> known;
  std::vector<std::string_view> twice;
  for (const Channel& channel : recording.channels())
    if (!known.insert(channel.name).second) twice.push_back(channel.name);
  if (!twice.empty())
    notes.resource(Code::channelTwice, "gives " + counted(twice.size(), "channel") +
                                           " a name that another has, the first is " +
                                           std::string(twice.front()) + ": by name only one is found");
  const auto names = namesOfChannels(recording);
  std::vector<std::string> unknown;
  for (const VirtualChannel& channel : recording.virtualChannels())
    for (const VirtualChannel::Reference& reference : channel.references)
      if (!names.contains(reference.channel)) unknown.push_back(reference.channel + " in " + channel.name);
  if (!unknown.empty())
    notes.file("VirtualChannels", Code::virtualChannel,
               "names " + counted(unknown.size(), "reference") + " that no channel has, the first is " +
                   unknown.front());
  std::set<std::string_view> strangers;
  for (const CoefficientRecord& record : recording.coefficients()) {
    if (!names.contains(record.sensor)) strangers.insert(record.sensor);
    for (const Coefficient& coefficient : record.references)
      if (!names.contains(coefficient.reference)) strangers.insert(coefficient.reference);
  }
  if (!strangers.empty())
    notes.resource(Code::coefficientChannel,
                   "has compensation coefficients for " + counted(strangers.size(), "name") +
                       " that no channel has, the first is " + std::string(*strangers.begin()));
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return (c >= 0x20 && c < 0x7F) || c == '\n' || c == '\r' || c == '\t'; });
}

/// Names the places of texts beyond ASCII, never the texts: they may name a person.
class TextCheck {
 public:
  void operator()(const std::string& text, const std::string& place) {
    if (!isAscii(text)) m_places.push_back(place);
  }
  /// "has characters that are not ASCII in ...", if there are any.
  std::string sentence() const {
    if (m_places.empty()) return {};
    std::string text = "has control characters or characters beyond ASCII in " + m_places.front();
    if (m_places.size() > 1) text += " and " + counted(m_places.size() - 1, "other place");
    return text;
  }

 private:
  std::vector<std::string> m_places;
};

void inspectTexts(const Recording& recording, Notes& notes) {
  TextCheck resource, markers, classes, electrodes, virtualChannels, information;
  forEachRecordField([&](const char* name, auto member, bool) {
    const auto& value = member(recording.record());
    if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) resource(value, name);
  });
  for (const Channel& channel : recording.channels())
    resource(channel.name, "the name of channel " + std::to_string(channel.index));
  const auto group = [](TextCheck& check, const EventGroup& events, std::size_t number) {
    check(events.name, "name " + std::to_string(number));
    check(events.comment, "comment " + std::to_string(number));
  };
  std::size_t number = 0;
  for (const Marker& marker : recording.markers())
    group(markers, marker, ++number);
  number = 0;
  for (const TrialClass& trialClass : recording.classes())
    group(classes, trialClass, ++number);
  for (const Electrode& electrode : recording.electrodes())
    electrodes(electrode.name, "the name of electrode " + std::to_string(electrode.number));
  number = 0;
  for (const VirtualChannel& channel : recording.virtualChannels())
    virtualChannels(channel.name, "name " + std::to_string(++number));
  for (const InformationEntry& entry : recording.information().entries)
    if (const auto* text = std::get_if<std::string>(&entry.value)) information(*text, entry.tag);

  const auto tell = [&](const std::string& file, const TextCheck& check) {
    const std::string text = check.sentence();
    if (!text.empty()) notes.file(file, Code::textAscii, text);
  };
  if (!resource.sentence().empty()) notes.resource(Code::textAscii, resource.sentence());
  tell(kMarkerFile, markers);
  tell(kClassFile, classes);
  tell(recording.name() + ".eeg", electrodes);
  tell("VirtualChannels", virtualChannels);
  tell(recording.name() + ".infods", information);
}

}  // namespace

std::vector<Finding> inspect(const Recording& recording) {
  Notes notes(recording.resourceFile());
  inspectNames(recording, notes);
  inspectMarkers(recording, notes);
  inspectClasses(recording, notes);
  inspectSegments(recording, notes);
  inspectTexts(recording, notes);
  return notes.take();
}

}  // namespace v1
}  // namespace ctfmeg
