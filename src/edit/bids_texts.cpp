#include "edit/bids_texts.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>
#include <sstream>

#include "edit/tab_separated.h"
#include "output/json.h"
#include "output/numbers.h"

namespace ctfmeg::edit {
namespace {

using output::Json;
using Kind = ChannelKind;

constexpr const char* kUnknown = "n/a";
constexpr std::uint32_t kLowPass = 1, kHighPass = 2;  // types of filters

/// One member a line, so that people can read and edit it.
std::string documentOf(const Json& object) {
  std::ostringstream text;
  output::JsonPieces members(text, '{', '}', 0);
  for (const auto& [key, value] : object.items())
    members.next(key) << output::dump(value);
  members.end();
  text << '\n';
  return text.str();
}

/// To a millionth: what lies beyond it comes from changes of unit.
double toMillionth(double value) { return std::round(value * 1e6) / 1e6 + 0.0; }

std::string numberOr(const std::optional<double>& value) {
  return value && std::isfinite(*value) ? output::shortest(*value) : kUnknown;
}

template <class Value>
const Value* find(const Recording& recording, const char* tag) {
  const InformationEntry* entry = recording.information().find(tag);
  return entry == nullptr ? nullptr : std::get_if<Value>(&entry->value);
}

/// A number of the information file that is above 0.
std::optional<double> numberOf(const Recording& recording, const char* tag) {
  const auto* value = find<double>(recording, tag);
  return value != nullptr && std::isfinite(*value) && *value > 0.0 ? std::optional(*value) : std::nullopt;
}

/// The band that the acquisition let through: by its filters, else by the information file.
struct Band {
  std::optional<double> low, high;  ///< Hz
};

Band bandOf(const Recording& recording) {
  Band band;
  for (const Filter& filter : recording.record().filters) {
    if (!(filter.frequency > 0.0)) continue;
    if (filter.filterType == kLowPass)
      band.high = std::min(band.high.value_or(filter.frequency), filter.frequency);
    if (filter.filterType == kHighPass)
      band.low = std::max(band.low.value_or(filter.frequency), filter.frequency);
  }
  if (!band.low) band.low = numberOf(recording, "_DATASET_LOWERBANDWIDTH");
  if (!band.high) band.high = numberOf(recording, "_DATASET_UPPERBANDWIDTH");
  return band;
}

bool isSensor(const Channel& channel) {
  return channel.kind == Kind::magnetometer || channel.kind == Kind::gradiometer;
}

/// Whether the coils of a gradiometer lie beside each other rather than one above the other.
bool isPlanar(const Channel& channel) {
  if (channel.dewarCoils.size() < 2) return false;
  const Coil &first = channel.dewarCoils[0], &second = channel.dewarCoils[1];
  std::array<double, 3> between{};
  for (std::size_t i = 0; i < 3; ++i)
    between[i] = second.positionCm[i] - first.positionCm[i];
  const auto dot = [](const auto& a, const auto& b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
  };
  const double along = dot(between, first.orientation);
  return 2.0 * along * along < dot(between, between) * dot(first.orientation, first.orientation);
}

struct ChannelType {
  const char* type;
  const char* description;
};

ChannelType typeOf(const Channel& channel) {
  switch (channel.kind) {
    case Kind::refMagnetometer:
      return {"MEGREFMAG", "Reference magnetometer"};
    case Kind::refGradiometer:
      return isPlanar(channel) ? ChannelType{"MEGREFGRADPLANAR", "Reference gradiometer, planar"}
                               : ChannelType{"MEGREFGRADAXIAL", "Reference gradiometer, axial"};
    case Kind::magnetometer:
      return {"MEGMAG", "Magnetometer"};
    case Kind::gradiometer:
      return isPlanar(channel) ? ChannelType{"MEGGRADPLANAR", "Gradiometer, planar"}
                               : ChannelType{"MEGGRADAXIAL", "Gradiometer, axial"};
    case Kind::eegRef:
      return {"EEG", "EEG reference"};
    case Kind::eeg:
      return {"EEG", "EEG electrode"};
    case Kind::adc:
      return {"ADC", "Analogue input"};
    case Kind::dac:
      return {"DAC", "Analogue output"};
    case Kind::stim:
      return {"TRIG", "Digital lines, a bit each"};
    case Kind::clock:
      return {"SYSCLOCK", "Time by the system's clock"};
    case Kind::position:
      return {"HLU", "Coordinate of a head coil in the dewar"};
    case Kind::reset:
      return {"OTHER", "Resets of the sensors"};
    case Kind::other:
      break;
  }
  return {"OTHER", kUnknown};
}

/// What was done to the samples, by the header.
Json softwareFilters(const Recording& recording) {
  Json filters;
  const auto add = [&](const std::string& name, Json parameters) {
    std::string key = name;
    for (int n = 2; filters.contains(key); ++n)
      key = name + " " + std::to_string(n);
    filters[key] = std::move(parameters);
  };
  std::set<std::int32_t> orders;
  for (const Channel& channel : recording.channels())
    if (isSensor(channel)) orders.insert(channel.gradientOrder);
  if (!orders.empty())
    add("SpatialCompensation",
        {{"GradientOrder", orders.size() == 1 ? Json(*orders.begin()) : Json(orders)}});
  for (const Filter& filter : recording.record().filters) {
    Json parameters{{"Frequency (Hz)", filter.frequency}, {"Class", filter.filterClass}};
    if (!filter.params.empty()) parameters["Parameters"] = filter.params;
    add(filter.filterType == kLowPass    ? "Low-pass filter"
        : filter.filterType == kHighPass ? "High-pass filter"
                                         : "Filter of type " + std::to_string(filter.filterType),
        std::move(parameters));
  }
  return filters.empty() ? Json(kUnknown) : filters;
}

/// Coils of the measured head set in CTF's head axes, centimetres; null where there are none.
Json headCoils(const Recording& recording) {
  const auto& set = recording.fiducials().headMeasured;
  constexpr std::array kLabels{"NAS", "LPA", "RPA", "INION", "CZ"};
  Json coils;
  for (std::size_t i = 0; set && i < kLabels.size(); ++i)
    if (const auto& point = (*set).*kFiducialNames[i].point) {
      const auto& [right, front, up] = *point;
      coils[kLabels[i]] = {toMillionth(front / 10.0), toMillionth(-right / 10.0), toMillionth(up / 10.0)};
    }
  return coils;
}

}  // namespace

std::string bidsMegJson(const Recording& recording, const BidsRecording& wanted) {
  const RecordInfo& record = recording.record();
  if (!std::isfinite(record.sampleRate) || record.sampleRate <= 0.0)
    throw Error(ErrorKind::refused, recording.resourceFile(),
                "gives no sample rate, which a study of the BIDS standard needs");
  const double trialSeconds = record.samplesPerTrial / record.sampleRate;
  const auto count = [&](auto... kinds) {
    return std::count_if(recording.channels().begin(), recording.channels().end(),
                         [&](const Channel& channel) { return ((channel.kind == kinds) || ...); });
  };
  Json json{{"TaskName", wanted.task}, {"InstitutionName", kUnknown}, {"Manufacturer", "CTF"}};
  if (const auto* system = find<std::string>(recording, "_DATASET_SYSTEM"); system && !system->empty())
    json["ManufacturersModelName"] = *system;
  const auto* collector = find<std::string>(recording, "_DATASET_COLLECTIONSOFTWARE");
  if (!record.appName.empty())
    json["SoftwareVersions"] = record.appName;
  else if (collector != nullptr && !collector->empty())
    json["SoftwareVersions"] = *collector;
  json["SamplingFrequency"] = record.sampleRate;
  json["PowerLineFrequency"] = wanted.lineFrequency ? Json(*wanted.lineFrequency) : Json(kUnknown);
  json["DewarPosition"] = kUnknown;
  json["SoftwareFilters"] = softwareFilters(recording);
  json["DigitizedLandmarks"] = !headCoils(recording).empty();
  json["DigitizedHeadPoints"] = !recording.digitised().points.empty();
  json["MEGChannelCount"] = count(Kind::magnetometer, Kind::gradiometer);
  json["MEGREFChannelCount"] = count(Kind::refMagnetometer, Kind::refGradiometer);
  json["EEGChannelCount"] = count(Kind::eeg, Kind::eegRef);
  json["MiscChannelCount"] = count(Kind::adc);
  json["TriggerChannelCount"] = count(Kind::stim);
  json["RecordingDuration"] = toMillionth(trialSeconds * recording.sampleFiles().trialsThere);
  const auto adjoin = record.numTrials < 2 ? std::optional(true) : recording.timeline(INT_MAX).trialsAdjoin;
  if (adjoin) json["RecordingType"] = *adjoin ? "continuous" : "epoched";
  if (adjoin && !*adjoin) json["EpochLength"] = toMillionth(trialSeconds);
  json["ContinuousHeadLocalization"] = count(Kind::position) > 0;
  if (const auto metres = numberOf(recording, "_DATASET_MAXHEADMOTION"))
    json["MaxMovement"] = toMillionth(*metres * 1000.0);
  return documentOf(json);
}

std::string bidsChannels(const Recording& recording) {
  const Band band = bandOf(recording);
  const std::string rate = numberOr(recording.record().sampleRate);
  std::string table =
      tabSeparated({"name", "type", "units", "description", "sampling_frequency", "low_cutoff", "high_cutoff",
                    "software_filters", "status", "status_description"});
  for (const Channel& channel : recording.channels()) {
    const auto [type, description] = typeOf(channel);
    const bool filtered = channel.unit == "T" || channel.kind == Kind::eeg || channel.kind == Kind::eegRef;
    const bool compensated = isSensor(channel) && channel.gradientOrder != 0;
    table +=
        tabSeparated({channel.name, type, channel.unit == "1" ? kUnknown : channel.unit, description, rate,
                      filtered ? numberOr(band.low) : kUnknown, filtered ? numberOr(band.high) : kUnknown,
                      compensated ? "SpatialCompensation" : kUnknown, channel.good ? "good" : "bad",
                      channel.good ? kUnknown : "Marked as bad in the dataset"});
  }
  return table;
}

std::string bidsEvents(const Recording& recording, std::size_t& leftOut) {
  struct Event {
    double onset;
    std::int64_t sample;
    const std::string* name;
  };
  const RecordInfo& record = recording.record();
  const auto starts = recording.timeline(INT_MAX).starts;
  std::vector<Event> events;
  leftOut = 0;
  for (const Marker& marker : recording.markers())
    for (const MarkerSample& sample : marker.samples) {
      if (sample.trial < 0 || static_cast<std::size_t>(sample.trial) >= starts.size()) {
        ++leftOut;
        continue;
      }
      const double inTrial = sample.timeMs / 1000.0 + record.preTrigSamples / record.sampleRate;
      events.push_back({starts[static_cast<std::size_t>(sample.trial)] + inTrial,
                        std::int64_t{sample.trial} * record.samplesPerTrial + sample.sample, &marker.name});
    }
  if (events.empty()) return {};
  std::stable_sort(events.begin(), events.end(),
                   [](const Event& a, const Event& b) { return a.onset < b.onset; });
  std::string table = tabSeparated({"onset", "duration", "trial_type", "sample"});
  for (const Event& event : events)
    table += tabSeparated(
        {numberOr(toMillionth(event.onset)), kUnknown, *event.name, std::to_string(event.sample)});
  return table;
}

std::string bidsEventsJson(const Recording& recording) {
  Json levels;
  for (const Marker& marker : recording.markers())
    levels[marker.name] = marker.comment.empty() ? kUnknown : marker.comment;
  return documentOf(
      {{"onset",
        {{"Description",
          "Start of the event, from the first sample of the recording, pauses between trials included"},
         {"Units", "s"}}},
       {"trial_type", {{"Description", "Name of the marker"}, {"Levels", levels}}},
       {"sample",
        {{"Description", "Sample of the file nearest to the event, counted from 0 through all trials"}}}});
}

std::string bidsCoordinates(const Recording& recording, const std::string& headShape) {
  Json json;
  const auto frame = [&](const std::string& what) {
    json[what + "CoordinateSystem"] = "CTF";
    json[what + "CoordinateUnits"] = "cm";
  };
  frame("MEG");
  json["MEGCoordinateSystemDescription"] =
      "x to the nose, y to the left ear, z up; origin midway between the head coils at the ears";
  if (!recording.electrodes().empty()) frame("EEG");
  if (const Json coils = headCoils(recording); !coils.empty())
    for (const char* what : {"HeadCoil", "AnatomicalLandmark"}) {
      json[what + std::string("Coordinates")] = coils;
      frame(what);
    }
  if (!headShape.empty()) {
    json["DigitizedHeadPoints"] = headShape;
    frame("DigitizedHeadPoints");
  }
  return documentOf(json);
}

std::string bidsDescription(const std::string& name) {
  return documentOf({{"Name", name},
                     {"BIDSVersion", "1.9.0"},
                     {"DatasetType", "raw"},
                     {"GeneratedBy", {{{"Name", "ctfmeg"}, {"Version", CTFMEG_VERSION}}}}});
}

}  // namespace ctfmeg::edit
