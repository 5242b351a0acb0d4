#include "cli/number_text.h"
#include "cli/overview.h"

namespace ctfmeg::cli {
namespace {

constexpr std::size_t kMostNames = 8;  // what fits on a line or two

/// "1 segment", "2 segments"; empty for none.
std::string counted(std::size_t count, const std::string& what) {
  if (count == 0) return {};
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// The names in a list, up to as many as can be taken in.
template <class List, class NameOf>
std::string names(const List& list, NameOf nameOfItem) {
  std::string text;
  for (std::size_t i = 0; i < std::min(list.size(), kMostNames); ++i)
    text = joined(text, ", ", nameOfItem(list[i]));
  if (list.size() > kMostNames) text += " and " + std::to_string(list.size() - kMostNames) + " more";
  return text;
}

std::string told(const Information& information, const char* tag) {
  const InformationEntry* entry = information.find(tag);
  const auto* text = entry == nullptr ? nullptr : std::get_if<std::string>(&entry->value);
  return text == nullptr ? "" : *text;
}

/// "20130429093618" as "2013-04-29"; empty for what is none.
std::string dateText(const std::string& dateTime) {
  constexpr std::size_t kDigits = 8;
  if (dateTime.size() < kDigits || dateTime.find_first_not_of("0123456789") < kDigits) return {};
  return dateTime.substr(0, 4) + "-" + dateTime.substr(4, 2) + "-" + dateTime.substr(6, 2);
}

}  // namespace

std::string joined(const std::string& first, const char* between, const std::string& second) {
  return first + (first.empty() || second.empty() ? "" : between) + second;
}

std::string patientText(const Information& information) {
  std::string text =
      joined(told(information, "_PATIENT_NAME_FIRST"), " ", told(information, "_PATIENT_NAME_LAST"));
  const std::string id = told(information, "_PATIENT_ID");
  if (id != text) text = joined(text, ", ", id.empty() ? "" : "ID " + id);
  const std::string born = dateText(told(information, "_PATIENT_BIRTHDATE"));
  return joined(text, ", ", born.empty() ? "" : "born " + born);
}

std::string softwareText(const Information& information) {
  return told(information, "_DATASET_COLLECTIONSOFTWARE");
}

std::string headText(const Fiducials& fiducials) {
  std::string sets;
  for (const auto& [name, set] : kFiducialSetNames)
    if (fiducials.*set) sets = joined(sets, ", ", name);
  const auto& measured = fiducials.dewarMeasured;
  if (!measured || !measured->leftEarMm || !measured->rightEarMm) return sets.empty() ? "" : "coils: " + sets;
  std::string centre;
  for (std::size_t axis = 0; axis < 3; ++axis)
    centre =
        joined(centre, ", ", millimetres(((*measured->leftEarMm)[axis] + (*measured->rightEarMm)[axis]) / 2));
  return "midway between the ears at " + centre + " mm in the dewar (coils: " + sets + ")";
}

std::string electrodesText(const Recording& recording) {
  return joined(counted(recording.electrodes().size(), "electrode"), ", ",
                counted(recording.digitised().points.size(), "digitised point"));
}

std::string markersText(const std::vector<Marker>& markers) {
  return names(markers, [](const Marker& marker) {
    return marker.name + " (" + std::to_string(marker.samples.size()) + ")";
  });
}

std::string classesText(const std::vector<TrialClass>& classes) {
  return names(classes, [](const TrialClass& trialClass) {
    const auto count = static_cast<std::size_t>(trialClass.numTrials);
    return trialClass.name + " (" + (count == 0 ? "no trials" : counted(count, "trial")) + ")";
  });
}

std::string badText(const std::vector<std::string>& channels, const std::vector<BadSegment>& segments) {
  return joined(names(channels, [](const std::string& name) { return name; }), "; ",
                counted(segments.size(), "segment"));
}

std::string virtualChannelsText(const std::vector<VirtualChannel>& channels) {
  return names(channels, [](const VirtualChannel& channel) { return channel.name; });
}

std::string warningsText(const std::vector<Finding>& warnings) {
  std::vector<Finding> told;
  for (const Finding& finding : warnings)
    if (finding.severity != Finding::Severity::remark) told.push_back(finding);
  return tally(told, [](const Finding& finding) { return finding.code; });
}

}  // namespace ctfmeg::cli
