#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <queue>
#include <tuple>

#include "recording/selection.h"
#include "signal/stretches.h"

#include <ctfmeg/stimulus.h>

namespace ctfmeg {
inline namespace v1 {
namespace {

/// Spans of time that were read, in samples since the first sample of trial 0.
class TimesRead {
 public:
  TimesRead(const Recording& recording, const SampleSource& source)
      : m_record(recording.record()), m_starts(recording.timeline(std::numeric_limits<int>::max())) {
    for (const Stretch& stretch : stretchesOf(recording, source, m_starts).all) {
      const double first = at(stretch.fileTrial, stretch.firstSample);
      m_spans.emplace_back(first, first + static_cast<double>(stretch.samples * stretch.step));
    }
    std::sort(m_spans.begin(), m_spans.end());
  }

  double at(int trial, std::int64_t sample) const {
    const double start = m_starts.starts[static_cast<std::size_t>(trial)] * m_record.sampleRate;
    // Without a rate that can be, trials follow each other.
    const double place = std::isfinite(start) ? start : static_cast<double>(trial) * m_record.samplesPerTrial;
    return place + static_cast<double>(sample);
  }

  /// When an occurrence was; nothing where it is at no sample that was read.
  std::optional<double> at(const MarkerSample& occurrence) const {
    if (occurrence.trial < 0 || static_cast<std::size_t>(occurrence.trial) >= m_starts.starts.size())
      return std::nullopt;
    const double time = at(occurrence.trial, occurrence.sample);
    constexpr double kRounding = 0.5;
    const auto after =
        std::upper_bound(m_spans.begin(), m_spans.end(), std::pair(time + kRounding, HUGE_VAL));
    if (after == m_spans.begin() || time > (after - 1)->second - kRounding) return std::nullopt;
    return time;
  }

 private:
  const RecordInfo& m_record;
  Timeline m_starts;
  std::vector<std::pair<double, double>> m_spans;  // the end not included
};

/// An event or an occurrence, in a chain of those that are not matched yet.
struct Link {
  double time = 0.0;  // in samples
  bool isEvent = false;
  std::size_t place = 0;              // among the events, or the occurrences
  std::size_t before = 0, after = 0;  // in the chain; itself at an end
  bool matched = false;
};

}  // namespace

MarkerAgreement compareWithMarker(const Recording& recording, const SampleSource& source,
                                  const std::vector<StimulusEvent>& events, const std::string& name,
                                  double tolerance) {
  const Marker marker = markerNamed(name, recording.markers(), recording.resourceFile());
  const TimesRead times(recording, source);
  std::vector<Link> chain;
  for (std::size_t i = 0; i < events.size(); ++i)
    chain.push_back({times.at(events[i].trial, events[i].sample), true, i});
  std::vector<std::size_t> before, after;  // occurrences in trials that the recording does not have
  for (std::size_t i = 0; i < marker.samples.size(); ++i)
    if (const auto time = times.at(marker.samples[i]))
      chain.push_back({*time, false, i});
    else if (marker.samples[i].trial < 0)
      before.push_back(i);
    else if (marker.samples[i].trial >= recording.record().numTrials)
      after.push_back(i);
  std::stable_sort(chain.begin(), chain.end(), [](const Link& a, const Link& b) { return a.time < b.time; });
  for (std::size_t i = 0; i < chain.size(); ++i) {
    chain[i].before = i == 0 ? i : i - 1;
    chain[i].after = i + 1 == chain.size() ? i : i + 1;
  }

  // The nearest pair that is left is always two neighbours in the chain: of what lay between them one would
  // be nearer. So neighbours are candidates, and those on both sides of a pair that is taken out become some.
  const double most = tolerance * recording.record().sampleRate;
  using Candidate = std::tuple<double, std::size_t, std::size_t>;
  std::priority_queue<Candidate, std::vector<Candidate>, std::greater<>> candidates;
  const auto consider = [&](std::size_t a, std::size_t b) {
    const double distance = chain[b].time - chain[a].time;
    if (a != b && chain[a].isEvent != chain[b].isEvent && std::round(distance) <= most)
      candidates.emplace(distance, a, b);
  };
  for (std::size_t i = 0; i < chain.size(); ++i)
    consider(i, chain[i].after);
  MarkerAgreement agreement;
  while (!candidates.empty()) {
    const auto [distance, a, b] = candidates.top();
    candidates.pop();
    if (chain[a].matched || chain[b].matched) continue;
    chain[a].matched = chain[b].matched = true;
    const Link& event = chain[chain[a].isEvent ? a : b];
    const Link& occurrence = chain[chain[a].isEvent ? b : a];
    agreement.matches.push_back({event.place, occurrence.place, std::llround(event.time - occurrence.time)});
    const std::size_t left = chain[a].before, right = chain[b].after;
    const bool isFirst = left == a, isLast = right == b;
    if (!isFirst) chain[left].after = isLast ? left : right;
    if (!isLast) chain[right].before = isFirst ? right : left;
    if (!isFirst && !isLast) consider(left, right);
  }
  std::sort(agreement.matches.begin(), agreement.matches.end(),
            [](const MarkerMatch& a, const MarkerMatch& b) { return a.event < b.event; });
  auto& alone = agreement.occurrencesAlone;
  alone = std::move(before);
  for (const Link& link : chain)
    if (!link.matched) (link.isEvent ? agreement.eventsAlone : alone).push_back(link.place);
  alone.insert(alone.end(), after.begin(), after.end());
  return agreement;
}

}  // namespace v1
}  // namespace ctfmeg
