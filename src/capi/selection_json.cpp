#include "capi/selection_json.h"

#include <limits>
#include <string>
#include <vector>

#include "capi/failure.h"
#include "capi/json_members.h"

namespace ctfmeg::capi {
namespace {

/// The two ends of a span, of which either may be null.
TimeSpan timeSpan(const Json& json, const std::string& name) {
  constexpr const char* kMust = "two numbers of seconds such as [-0.1, 0.5], or null for an end";
  if (!json.is_array() || json.size() != 2) refuse(name, kMust);
  return {secondsOrNone(json[0], name, kMust), secondsOrNone(json[1], name, kMust)};
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
    const Json *trial = members.find("trial"), *sample = members.find("sample");
    const auto name = members.text("name");
    if (trial == nullptr || sample == nullptr) refuse("trial\" and \"sample", kMust);
    members.end();
    const auto place = wholeNumber(*sample, "sample", std::numeric_limits<std::int64_t>::min(), kMust);
    all.push_back(
        {.name = name.value_or(""),
         .trial = wholeNumber(*trial, "trial", 0, kMust),
         .sample = place,
         .timeMs = (static_cast<double>(place) - record.preTrigSamples) * 1000.0 / record.sampleRate});
  }
  return all;
}

Epoching readEpochs(const Json& json, const Recording& recording) {
  Members members(json, "\"epochs\"");
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
  members.end();
  return epochs;
}

}  // namespace

Wanted wantedOf(const char* text, const Recording& recording) {
  const Json json = parsed(text, "a selection");
  Members members(json, "a selection");
  Wanted wanted{.selection = readSelection(members),
                .processing = {.compensation = members.number("compensation", 0),
                               .decimate = members.number("decimate", 1).value_or(1)},
                .average = members.flag("average")};
  const Json* epochs = members.find("epochs");
  members.end();
  if (wanted.processing.compensation && *wanted.processing.compensation > 3)
    refuse("compensation", "a gradient order from 0 to 3");
  if (epochs != nullptr) wanted.processing.epochs = readEpochs(*epochs, recording);
  return wanted;
}

Selection wantedPartOf(const char* text) {
  const Json json = parsed(text, "a selection");
  Members members(json, "a selection");
  Selection selection = readSelection(members);
  members.end();
  return selection;
}

WantedEvents wantedEventsOf(const char* text) {
  const Json json = parsed(text, "a selection of events");
  Members members(json, "a selection of events");
  WantedEvents wanted{.selection = readSelection(members)};
  if (const Json* mask = members.find("mask"))
    wanted.options.mask = wholeNumber<std::uint32_t>(*mask, "mask", 0, "a number of 32 bits");
  wanted.options.edge =
      members.word<Edge>("edge", {{"rising", Edge::rising}, {"falling", Edge::falling}, {"both", Edge::both}})
          .value_or(Edge::rising);
  members.end();
  return wanted;
}

Selection wantedChannelsOf(const char* text) {
  const Json json = parsed(text, "a selection of channels");
  Members members(json, "a selection of channels");
  Selection selection;
  readChannels(members, selection);
  members.end();
  return selection;
}

}  // namespace ctfmeg::capi
