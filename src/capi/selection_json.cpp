#include "capi/selection_json.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/nearest.h"
#include "capi/failure.h"

namespace ctfmeg::capi {
namespace {

using Json = nlohmann::json;

[[noreturn]] void refuse(const std::string& name, const char* must) {
  throw Misuse("\"" + name + "\" must be " + must);
}

template <class Number>
Number wholeNumber(const Json& json, const std::string& name, Number least, const char* must) {
  if (!json.is_number_integer()) refuse(name, must);
  if (json.is_number_unsigned()) {
    const auto number = json.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<Number>::max())) refuse(name, must);
    if (static_cast<Number>(number) < least) refuse(name, must);
    return static_cast<Number>(number);
  }
  const auto number = json.get<std::int64_t>();
  if (number < static_cast<std::int64_t>(least)) refuse(name, must);
  return static_cast<Number>(number);
}

std::optional<double> secondsOrNone(const Json& json, const std::string& name, const char* must) {
  if (json.is_null()) return std::nullopt;
  if (!json.is_number()) refuse(name, must);
  return json.get<double>();
}

/// The two ends of a span, of which either may be null.
TimeSpan timeSpan(const Json& json, const std::string& name) {
  constexpr const char* kMust = "two numbers of seconds such as [-0.1, 0.5], or null for an end";
  if (!json.is_array() || json.size() != 2) refuse(name, kMust);
  return {secondsOrNone(json[0], name, kMust), secondsOrNone(json[1], name, kMust)};
}

/// The members of an object, each looked at once; what nobody looked at has no meaning.
class Members {
 public:
  Members(const Json& object, const std::string& what) : m_object(object) {
    if (!object.is_object()) throw Misuse(what + " is no JSON object");
  }

  /// Null where there is no such member, or it is null.
  const Json* find(const std::string& name) {
    m_known.insert(name);
    const auto place = m_object.find(name);
    return place == m_object.end() || place->is_null() ? nullptr : &*place;
  }

  bool flag(const std::string& name) {
    const Json* json = find(name);
    if (json != nullptr && !json->is_boolean()) refuse(name, "true or false");
    return json != nullptr && json->get<bool>();
  }

  std::optional<int> number(const std::string& name, int least) {
    const Json* json = find(name);
    if (json == nullptr) return std::nullopt;
    return wholeNumber(*json, name, least, least == 0 ? "a whole number from 0" : "a whole number from 1");
  }

  std::optional<double> seconds(const std::string& name) {
    const Json* json = find(name);
    return json == nullptr ? std::nullopt : secondsOrNone(*json, name, "a number of seconds");
  }

  std::optional<std::vector<std::string>> names(const std::string& name) {
    const Json* json = find(name);
    if (json == nullptr) return std::nullopt;
    if (!json->is_array()) refuse(name, "a list of names");
    std::vector<std::string> names;
    for (const Json& one : *json) {
      if (!one.is_string()) refuse(name, "a list of names");
      names.push_back(one.get<std::string>());
    }
    return names;
  }

  /// The word of a member, by a list of those that there are; nothing where there is no such member.
  template <class Value>
  std::optional<Value> word(const std::string& name,
                            const std::vector<std::pair<const char*, Value>>& known) {
    const Json* json = find(name);
    if (json == nullptr) return std::nullopt;
    std::vector<std::string> all;
    for (const auto& [text, value] : known) {
      if (*json == text) return value;
      all.push_back(std::string("\"").append(text) + "\"");
    }
    refuse(name, listText(all, "or").c_str());
  }

  /// Throws Misuse for a member that nobody looked at.
  void end(const std::string& what) const {
    const auto members = m_object.items();
    const auto unknown = std::find_if(members.begin(), members.end(),
                                      [this](const auto& member) { return !m_known.contains(member.key()); });
    if (unknown != members.end())
      throw Misuse(what + " has no member \"" + unknown.key() + "\"; there are " +
                   listText({m_known.begin(), m_known.end()}));
  }

 private:
  const Json& m_object;
  std::set<std::string> m_known;
};

Json parsed(const char* text) {
  if (text == nullptr) return Json::object();
  Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded()) throw Misuse("the selection is no JSON");
  return json;
}

void readChannels(Members& members, Selection& selection) {
  selection.channels = members.names("channels");
  selection.exclude = members.names("exclude").value_or(std::vector<std::string>());
}

Selection readSelection(Members& members) {
  Selection selection;
  if (const Json* trials = members.find("trials")) {
    constexpr const char* kMust = "a list of trial numbers from 0";
    if (!trials->is_array()) refuse("trials", kMust);
    selection.trials.emplace();
    for (const Json& trial : *trials)
      selection.trials->push_back(wholeNumber(trial, "trials", 0, kMust));
  }
  selection.markers = members.names("markers");
  selection.continuous = members.flag("continuous");
  selection.gaps =
      members.word<Gaps>("gaps", {{"refuse", Gaps::refuse}, {"nan", Gaps::fill}, {"cut", Gaps::cut}})
          .value_or(Gaps::refuse);
  if (selection.gaps != Gaps::refuse && !selection.continuous)
    throw Misuse("\"gaps\" are those of a run: \"continuous\" must be true");
  if (const Json* span = members.find("samples")) {
    constexpr const char* kMust = "two sample numbers such as [0, 599]";
    if (!span->is_array() || span->size() != 2) refuse("samples", kMust);
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
    selection.samples = SampleSpan{wholeNumber((*span)[0], "samples", kLeast, kMust),
                                   wholeNumber((*span)[1], "samples", kLeast, kMust)};
  }
  if (const Json* span = members.find("seconds")) selection.seconds = timeSpan(*span, "seconds");
  if (selection.samples && selection.seconds)
    throw Misuse("\"samples\" and \"seconds\" both say which samples are wanted: one of them may");
  selection.pieces = members.number("pieces", 1).value_or(1);
  selection.step = members.number("step", 1).value_or(1);
  readChannels(members, selection);
  selection.partial = members.word<Partial>("partial", {{"nan", Partial::fill}, {"drop", Partial::drop}})
                          .value_or(Partial::leaveOut);
  return selection;
}

std::vector<Occurrence> occurrences(const Json& list, const RecordInfo& record) {
  if (!list.is_array()) refuse("occurrences", "a list of objects");
  std::vector<Occurrence> all;
  for (const Json& one : list) {
    Members members(one, "an occurrence");
    constexpr const char* kMust = "a whole number in each of the \"occurrences\"";
    const Json *trial = members.find("trial"), *sample = members.find("sample"), *name = members.find("name");
    if (trial == nullptr || sample == nullptr) refuse("trial\" and \"sample", kMust);
    if (name != nullptr && !name->is_string()) refuse("name", "a text");
    members.end("an occurrence");
    const auto place = wholeNumber(*sample, "sample", std::numeric_limits<std::int64_t>::min(), kMust);
    all.push_back(
        {.name = name == nullptr ? "" : name->get<std::string>(),
         .trial = wholeNumber(*trial, "trial", 0, kMust),
         .sample = place,
         .timeMs = (static_cast<double>(place) - record.preTrigSamples) * 1000.0 / record.sampleRate});
  }
  return all;
}

Epoching readEpochs(const Json& json, const Recording& recording) {
  constexpr const char* kEpochs = "\"epochs\"";
  Members members(json, kEpochs);
  const auto markers = members.names("markers");
  const Json* list = members.find("occurrences");
  if (markers.has_value() == (list != nullptr))
    throw Misuse("epochs need either \"markers\" or \"occurrences\"");
  const auto from = members.seconds("from"), to = members.seconds("to");
  if (!from || !to) throw Misuse("epochs need \"from\" and \"to\", in seconds from each occurrence");
  Epoching epochs{
      .occurrences = markers ? occurrencesOf(recording, *markers) : occurrences(*list, recording.record()),
      .from = *from,
      .to = *to,
      .skipBad = members.flag("skipBad")};
  if (const Json* baseline = members.find("baseline")) {
    const TimeSpan span = timeSpan(*baseline, "baseline");
    epochs.baseline = Epoching::Baseline{span.from.value_or(*from), span.to.value_or(*to)};
  }
  if (const Json* limits = members.find("reject")) {
    constexpr const char* kMust = "an object of kinds and limits such as {\"meg\": 4e-12}";
    if (!limits->is_object()) refuse("reject", kMust);
    for (const auto& [kind, limit] : limits->items()) {
      if (!limit.is_number()) refuse("reject", kMust);
      epochs.reject.push_back({kind, limit.get<double>()});
    }
  }
  members.end(kEpochs);
  return epochs;
}

}  // namespace

Wanted wantedOf(const char* text, const Recording& recording) {
  const Json json = parsed(text);
  Members members(json, "a selection");
  Wanted wanted{.selection = readSelection(members),
                .processing = {.compensation = members.number("compensation", 0),
                               .decimate = members.number("decimate", 1).value_or(1)},
                .average = members.flag("average")};
  const Json* epochs = members.find("epochs");
  members.end("a selection");
  if (wanted.processing.compensation && *wanted.processing.compensation > 3)
    refuse("compensation", "a gradient order from 0 to 3");
  if (epochs != nullptr) wanted.processing.epochs = readEpochs(*epochs, recording);
  return wanted;
}

WantedEvents wantedEventsOf(const char* text) {
  const Json json = parsed(text);
  Members members(json, "a selection of events");
  WantedEvents wanted{.selection = readSelection(members)};
  if (const Json* mask = members.find("mask"))
    wanted.options.mask = wholeNumber<std::uint32_t>(*mask, "mask", 0, "a number of 32 bits");
  wanted.options.edge =
      members.word<Edge>("edge", {{"rising", Edge::rising}, {"falling", Edge::falling}, {"both", Edge::both}})
          .value_or(Edge::rising);
  members.end("a selection of events");
  return wanted;
}

Selection wantedChannelsOf(const char* text) {
  const Json json = parsed(text);
  Members members(json, "a selection of channels");
  Selection selection;
  readChannels(members, selection);
  members.end("a selection of channels");
  return selection;
}

}  // namespace ctfmeg::capi
