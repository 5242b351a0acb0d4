#include "recording/selection.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <set>
#include <string>
#include <string_view>

#include "base/encoding.h"
#include "base/finding_codes.h"
#include "base/nearest.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {

bool isOfKind(const Channel& channel, const std::string& word) {
  using enum ChannelKind;
  const std::string kind = lowered(word);
  if (kind == "meg") return channel.kind == magnetometer || channel.kind == gradiometer;
  if (kind == "ref") return channel.kind == refMagnetometer || channel.kind == refGradiometer;
  return kind == nameOf(channel.kind);
}

namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& file, const std::string& text) {
  throw Error(ErrorKind::refused, file, text);
}

/// `*` matches any characters, `?` one.
bool matches(std::string_view pattern, std::string_view name) {
  // On a mismatch after a `*`, that star takes one character more.
  constexpr std::size_t kNone = std::string_view::npos;
  std::size_t p = 0, n = 0, star = kNone, starName = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      starName = n;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (star != kNone) {
      p = star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == kNone;
}

/// Sets `wanted` to `value` for each channel that `fits`; false when there is none.
template <class Fits>
bool mark(const std::vector<Channel>& channels, std::vector<bool>& wanted, bool value, Fits fits) {
  bool found = false;
  for (std::size_t c = 0; c < channels.size(); ++c)
    if (fits(channels[c])) {
      wanted[c] = value;
      found = true;
    }
  return found;
}

/// The error for an item that names no channel, with the nearest that there is.
[[noreturn]] void refuseItem(const std::string& item, const std::vector<Channel>& channels,
                             const fs::path& file) {
  std::vector<std::string> shortNames, names, kinds;
  for (const Channel& channel : channels) {
    shortNames.push_back(channel.shortName);
    names.push_back(channel.name);
    if (const std::string kind = nameOf(channel.kind);
        std::find(kinds.begin(), kinds.end(), kind) == kinds.end())
      kinds.push_back(kind);
  }
  std::string nearest;
  if (const std::size_t literal = item.find_first_of("*?"); literal == std::string::npos) {
    for (const char* group : {"meg", "ref"})
      if (std::any_of(channels.begin(), channels.end(),
                      [&](const Channel& channel) { return isOfKind(channel, group); }))
        kinds.emplace_back(group);
    std::vector<std::string> there = shortNames;
    there.insert(there.end(), kinds.begin(), kinds.end());
    nearest = nearestText(item, there);
    if (nearest.empty()) nearest = nearestText(item, names);
    if (nearest.empty()) nearest = nearestText(item.substr(0, item.find('-')), shortNames);
  } else if (literal > 1) {  // what comes before the first of them is how names begin
    for (std::string& name : shortNames)
      name.replace(std::min(literal, name.size()), std::string::npos, "*");
    nearest = nearestText(item.substr(0, literal) + "*", shortNames);
  }
  refuse(file, "has no channel " + (item.empty() ? "with an empty name" : item) +
                   (nearest.empty() ? "; its channels are of kind " + listText(kinds) : nearest));
}

/// Marks the channels that an item of a list means.
void markItem(const std::string& item, const std::vector<Channel>& channels, const fs::path& file,
              std::vector<bool>& wanted, bool value) {
  const auto byName = [&](const Channel& c) { return matches(item, c.name) || matches(item, c.shortName); };
  const std::string word = lowered(item);
  const auto byKind = [&](const Channel& c) { return isOfKind(c, word); };
  const auto byAnyCase = [&](const Channel& c) {
    return matches(word, lowered(c.name)) || matches(word, lowered(c.shortName));
  };
  if (mark(channels, wanted, value, byName) || mark(channels, wanted, value, byKind) ||
      mark(channels, wanted, value, byAnyCase))
    return;
  refuseItem(item, channels, file);
}

/// The nearest sample, half away from zero.
std::int64_t sampleAt(double seconds, const Counting& counting) {
  constexpr double kFar = 9e18;
  const double sample = std::round(seconds * counting.sampleRate);
  const std::int64_t nearest =
      std::isnan(sample) ? 0 : static_cast<std::int64_t>(std::clamp(sample, -kFar, kFar));
  return std::clamp<std::int64_t>(nearest, -INT64_MAX / 4, INT64_MAX / 4) + counting.preTrigSamples;
}

}  // namespace

Marker markerNamed(const std::string& name, const std::vector<Marker>& markers, const fs::path& file) {
  std::optional<Marker> found;
  std::vector<std::string> there;
  for (const Marker& marker : markers) {
    there.push_back(marker.name);
    if (marker.name != name) continue;
    if (found)
      found->samples.insert(found->samples.end(), marker.samples.begin(), marker.samples.end());
    else
      found = marker;
  }
  if (found) return *std::move(found);
  refuse(file, "has no marker " + (name.empty() ? "with an empty name" : name) + ": " +
                   (there.empty() ? "there are none" : "there are " + listText(there)) +
                   nearestText(name, there));
}

std::vector<int> chosenTrials(const Selection& selection, const std::vector<Marker>& markers,
                              const fs::path& file, std::int32_t trials) {
  std::set<int> chosen;
  for (int t = 0; t < trials && !selection.trials; ++t)
    chosen.insert(t);
  if (selection.trials) {
    if (selection.trials->empty()) refuse(file, "can't be read by a list of no trials");
    for (const int number : *selection.trials) {
      if (number < 0 || number >= trials)
        refuse(file, "has no trial " + std::to_string(number) + ": there are trials 0 to " +
                         std::to_string(trials - 1));
      chosen.insert(number);
    }
  }
  if (selection.markers) {
    std::set<int> marked;
    std::string names;
    for (const std::string& name : *selection.markers) {
      names += (names.empty() ? "" : ", ") + name;
      const Marker marker = markerNamed(name, markers, file);
      for (const MarkerSample& sample : marker.samples)
        if (chosen.contains(sample.trial)) marked.insert(sample.trial);
    }
    if (marked.empty()) refuse(file, "has no trial in which marker " + names + " occurs");
    chosen = std::move(marked);
  }
  return {chosen.begin(), chosen.end()};
}

std::vector<int> chosenChannels(const Selection& selection, const std::vector<Channel>& channels,
                                const fs::path& file) {
  std::vector<bool> wanted(channels.size(), !selection.channels);
  if (selection.channels)
    for (const std::string& item : *selection.channels)
      markItem(item, channels, file, wanted, true);
  for (const std::string& item : selection.exclude)
    if (lowered(item) == "bad")
      mark(channels, wanted, false, [](const Channel& channel) { return !channel.good; });
    else
      markItem(item, channels, file, wanted, false);
  std::vector<int> chosen;
  for (std::size_t c = 0; c < channels.size(); ++c)
    if (wanted[c]) chosen.push_back(static_cast<int>(c));
  if (chosen.empty()) refuse(file, "has no channel that is chosen and not excluded");
  return chosen;
}

Cut cutOf(const Selection& selection, const fs::path& file, const Counting& counting) {
  const std::string whole = selection.continuous ? "the run" : "a trial";
  if (selection.step < 1)
    refuse(file, "can't be resampled by " + std::to_string(selection.step) + ": 1 keeps every sample");
  if (selection.pieces < 1) refuse(file, "can't be cut into " + std::to_string(selection.pieces) + " pieces");
  if (selection.pieces > 1 && selection.continuous) refuse(file, "can't be both cut into pieces and one run");
  if (selection.samples && selection.seconds) refuse(file, "can't be cut by samples and by seconds at once");
  Cut cut{.length = counting.samples};
  if (selection.samples || selection.seconds) {
    std::int64_t last = counting.samples - 1;
    if (selection.samples) {
      cut.first = selection.samples->first;
      last = std::min(last, selection.samples->last);
    } else {
      if (!(counting.sampleRate > 0.0)) refuse(file, "has no sample rate: seconds are no samples");
      if (selection.seconds->from) cut.first = sampleAt(*selection.seconds->from, counting);
      if (selection.seconds->to) last = std::min(last, sampleAt(*selection.seconds->to, counting));
    }
    cut.first = std::max<std::int64_t>(cut.first, 0);
    cut.length = std::max<std::int64_t>(last, -1) - cut.first + 1;
    if (cut.length < 1)
      refuse(file, "has no samples in that span: " + whole + " has samples 0 to " +
                       std::to_string(counting.samples - 1));
  }
  cut.pieces = std::clamp<std::int64_t>(selection.pieces, 1, std::max<std::int64_t>(cut.length, 1));
  cut.length /= cut.pieces;
  cut.step = std::clamp<std::int64_t>(selection.step, 1, std::max<std::int64_t>(cut.length, 1));
  cut.samples = cut.length / cut.step;
  return cut;
}

std::optional<Finding> aliasingOf(const RecordInfo& record, std::int64_t step, const fs::path& file) {
  constexpr std::uint32_t kLowPass = 1;  // type of a filter; 2 is a high-pass
  double passed = std::numeric_limits<double>::infinity();
  for (const Filter& filter : record.filters)
    if (filter.filterType == kLowPass && filter.frequency > 0.0) passed = std::min(passed, filter.frequency);
  const double shown = record.sampleRate / static_cast<double>(step) / 2.0;
  if (step < 2 || !std::isfinite(passed) || !(passed > shown)) return std::nullopt;
  char text[192];
  std::snprintf(
      text, sizeof text,
      "has signal up to %.6g Hz by its low-pass filter: at the new sample rate what is above %.6g Hz "
      "aliases to lower frequencies",
      passed, shown);
  return Finding{.severity = Finding::Severity::remark,
                 .code = wordOf(Code::resampleAlias),
                 .file = textOf(file),
                 .text = text};
}

Error missingTrial(int trial, const fs::path& file, std::vector<Finding> findings) {
  std::string text = "does not have trial " + std::to_string(trial) + " whole";
  for (const Finding& finding : findings)
    if (is(finding, Code::meg4Short)) text += ": the set " + finding.text;
  return {ErrorKind::damaged, file, text, std::move(findings)};
}

}  // namespace ctfmeg
