#include <algorithm>
#include <array>
#include <cstdio>

#include "base/finding_codes.h"

#include <ctfmeg/inspect.h>
#include <ctfmeg/path_text.h>

namespace ctfmeg {
inline namespace v1 {
namespace {

/// A channel with a fault, and how bad that is.
struct Faulty {
  const Channel* channel;
  const ChannelStatistics* its;
  double weight;
};

/// A fault as findings say it, of how many channels it may be.
struct Wording {
  SignalFault fault;
  Code code;
  const char* channels;  ///< after "has 2 channels "
  double (*weight)(const ChannelStatistics&);
  std::string (*worst)(const ChannelStatistics&);
};

std::string placeText(const std::optional<SamplePlace>& place) {
  const SamplePlace at = place.value_or(SamplePlace{});
  return "trial " + std::to_string(at.trial) + ", sample " + std::to_string(at.sample);
}

std::string counted(std::int64_t count, const char* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

constexpr std::array kWordings{
    Wording{SignalFault::flat, Code::signalFlat, "without a signal",
            [](const ChannelStatistics& its) { return static_cast<double>(its.flat); },
            [](const ChannelStatistics& its) {
              return counted(its.flat, "equal sample") + " from " + placeText(its.flatAt) + " on";
            }},
    Wording{SignalFault::clipped, Code::signalClipped, "whose signal is cut off",
            [](const ChannelStatistics& its) { return static_cast<double>(its.clipped); },
            [](const ChannelStatistics& its) {
              return counted(its.clipped, "sample") + ", the first at " + placeText(its.clippedAt);
            }},
    Wording{SignalFault::jumps, Code::signalJumps, "with steps that no signal makes",
            [](const ChannelStatistics& its) { return static_cast<double>(its.jumps); },
            [](const ChannelStatistics& its) {
              return counted(its.jumps, "step") + ", the first at " + placeText(its.jumpsAt);
            }},
    Wording{SignalFault::noisy, Code::signalNoisy, "far noisier than their kind",
            [](const ChannelStatistics& its) { return its.noise; },
            [](const ChannelStatistics& its) {
              std::array<char, 32> times{};
              std::snprintf(times.data(), times.size(), "%.3g", its.noise);
              return std::string(times.data()) + " times the median";
            }}};

std::string textOf(const Wording& wording, const std::vector<Faulty>& faulty, bool known) {
  constexpr std::size_t kMostNames = 8;
  std::string text = "has " + counted(std::ssize(faulty), "channel") + " " + wording.channels +
                     (known ? ", marked as bad already: " : ": ");
  for (std::size_t i = 0; i < std::min(faulty.size(), kMostNames); ++i)
    text += (i == 0 ? "" : ", ") + faulty[i].channel->shortName;
  if (faulty.size() > kMostNames) text += " and " + std::to_string(faulty.size() - kMostNames) + " more";
  const auto worst = std::max_element(faulty.begin(), faulty.end(),
                                      [](const Faulty& a, const Faulty& b) { return a.weight < b.weight; });
  return text + (faulty.size() == 1 ? " (" : " (" + worst->channel->shortName + ": ") +
         wording.worst(*worst->its) + ")";
}

}  // namespace

std::vector<Finding> inspectSignals(const Recording& recording, const SignalLimits& limits,
                                    const ProgressFunction& progress, int threads) {
  std::vector<Finding> findings;
  if (recording.sampleFiles().trialsThere == 0) return findings;
  const auto source = recording.samples();
  const std::vector<ChannelStatistics> all = statisticsOf(*source, limits, progress, threads);
  auto file = recording.resourceFile();
  file.replace_extension("meg4");
  for (const Wording& wording : kWordings)
    for (const bool known : {false, true}) {
      std::vector<Faulty> faulty;
      for (std::size_t i = 0; i < all.size(); ++i)
        if (source->channels()[i].good != known &&
            std::find(all[i].faults.begin(), all[i].faults.end(), wording.fault) != all[i].faults.end())
          faulty.push_back({&source->channels()[i], &all[i], wording.weight(all[i])});
      if (!faulty.empty())
        findings.push_back({known ? Finding::Severity::remark : Finding::Severity::warning,
                            wordOf(wording.code), ctfmeg::textOf(file), textOf(wording, faulty, known)});
    }
  return findings;
}

}  // namespace v1
}  // namespace ctfmeg
