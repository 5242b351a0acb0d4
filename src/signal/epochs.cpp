#include "signal/epochs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <set>
#include <string>
#include <tuple>

#include "base/finding_codes.h"
#include "base/nearest.h"
#include "recording/selection.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {
inline namespace v1 {

std::vector<Occurrence> occurrencesOf(const Recording& recording, const std::vector<std::string>& markers) {
  std::vector<Occurrence> all;
  std::set<std::string> known;
  for (const std::string& name : markers) {
    if (!known.insert(name).second) continue;
    const Marker marker = markerNamed(name, recording.markers(), recording.resourceFile());
    for (const MarkerSample& at : marker.samples)
      all.push_back({name, at.trial, at.sample, at.timeMs});
  }
  std::ranges::stable_sort(all, {}, [](const Occurrence& o) { return std::tuple(o.trial, o.sample); });
  return all;
}

}  // namespace v1

namespace {

/// More samples than any recording has, and few enough to be added up. A marker's time may be any number.
constexpr std::int64_t kBeyond = 1'000'000'000'000'000;

/// Samples of a run, from `begin` to before `end`.
struct Extent {
  std::int64_t begin = 0, end = 0;
};

/// A trial of the file, or what there is of it, in a run.
struct PlacedTrial {
  Piece piece;
  Extent own;     ///< its samples
  Extent around;  ///< those around it up to the next gap
};

std::vector<PlacedTrial> trialsOf(const SampleSource& run) {
  std::set<int> beforeGap;
  for (const Gap& gap : run.gaps())
    beforeGap.insert(gap.afterTrial);
  std::vector<PlacedTrial> trials;
  std::size_t first = 0;  // after the last gap
  for (const Piece& piece : run.pieces(0)) {
    if (!trials.empty()) trials.back().own.end = piece.at;
    if (!trials.empty() && beforeGap.contains(trials.back().piece.fileTrial)) first = trials.size();
    trials.push_back({piece, {piece.at, run.shape().samples}, {}});
    trials.back().around.begin = trials[first].own.begin;
  }
  for (std::size_t i = trials.size(); i-- > 0;) {
    const bool goesOn = i + 1 < trials.size() && trials[i + 1].around.begin == trials[i].around.begin;
    trials[i].around.end = goesOn ? trials[i + 1].around.end : trials[i].own.end;
  }
  return trials;
}

/// The samples of trials that the dataset marks as bad.
class BadSamples {
 public:
  explicit BadSamples(const Recording& recording) : m_recording(recording) {
    for (const TrialClass& one : recording.classes())
      if (one.name.starts_with("BAD") && one.trials) m_trials.insert(one.trials->begin(), one.trials->end());
  }

  /// How many marks are at no place of the recording.
  std::int64_t nowhere() const {
    const std::int32_t trials = m_recording.record().numTrials;
    const auto isNowhere = [&](int trial) { return trial < 0 || trial >= trials; };
    return std::ranges::count_if(m_trials, isNowhere) +
           std::ranges::count_if(m_recording.badSegments(), [&](const BadSegment& segment) {
             return isNowhere(segment.trial) || !(segment.startMs <= segment.endMs);
           });
  }

  /// Whether one of a trial's samples, from `begin` to before `end`, is among them.
  bool touch(int trial, std::int64_t begin, std::int64_t end) const {
    if (m_trials.contains(trial)) return true;
    const double perMs = m_recording.record().sampleRate / 1000.0;
    return std::ranges::any_of(m_recording.badSegments(), [&](const BadSegment& segment) {
      // A time that is meant to be a sample's may miss it by the last digits that the file gives.
      constexpr double kRounding = 1e-3;
      return segment.trial == trial && static_cast<double>(begin) <= segment.endMs * perMs + kRounding &&
             static_cast<double>(end - 1) >= segment.startMs * perMs - kRounding;
    });
  }

 private:
  const Recording& m_recording;
  std::set<int> m_trials;
};

/// "from -0.1 to 0.4 s".
std::string spanText(double from, double to) {
  char text[96];
  std::snprintf(text, sizeof text, "from %.6g to %.6g s", from, to);
  return text;
}

/// Beyond any recording where it would not fit.
std::int64_t nearestSample(double seconds, double rate) {
  constexpr auto kMost = static_cast<double>(kBeyond);
  return std::llround(std::clamp(seconds * rate, -kMost, kMost));
}

}  // namespace

EpochPlaces placeEpochs(const Recording& recording, const Selection& selection, const SampleSource& run,
                        std::int64_t step, const Epoching& epoching) {
  const auto refuse = [&](const std::string& text) {
    throw Error(ErrorKind::refused, recording.resourceFile(), text);
  };
  const double rate = run.sampleRate();
  if (!(std::isfinite(rate) && rate > 0)) refuse("has no sample rate: seconds are no samples");
  const std::string span = spanText(epoching.from, epoching.to);
  const std::int64_t first = nearestSample(epoching.from, rate), last = nearestSample(epoching.to, rate);
  if (first > last) refuse("has no epochs " + span + ": they end before they begin");
  const std::int64_t length = last - first + 1;
  EpochPlaces epochs;
  if (epoching.skipBad) epochs.badNowhere = BadSamples(recording).nowhere();
  epochs.layout.step = std::min(step, length);
  epochs.layout.samples = length / epochs.layout.step;
  epochs.layout.from = static_cast<double>(first) / rate;
  if (epoching.baseline) {
    const std::int64_t from = nearestSample(epoching.baseline->from, rate) - first;
    const std::int64_t to = nearestSample(epoching.baseline->to, rate) - first;
    if (from < 0 || from > to || to >= length)
      refuse("has no baseline " + spanText(epoching.baseline->from, epoching.baseline->to) + " in epochs " +
             span);
    const Views::Span kept{(from + epochs.layout.step - 1) / epochs.layout.step,
                           std::min(to / epochs.layout.step, epochs.layout.samples - 1)};
    if (kept.first > kept.last)
      refuse("has no sample in the baseline " + spanText(epoching.baseline->from, epoching.baseline->to) +
             " among those that are kept");
    epochs.layout.baseline = kept;
  }

  const auto trials = trialsOf(run);
  const BadSamples bad(recording);
  for (const Occurrence& occurrence : epoching.occurrences) {
    if (selection.trials && std::ranges::find(*selection.trials, occurrence.trial) == selection.trials->end())
      continue;
    const auto own = std::ranges::lower_bound(trials, occurrence.trial, {},
                                              [](const PlacedTrial& t) { return t.piece.fileTrial; });
    const bool isThere = own != trials.end() && own->piece.fileTrial == occurrence.trial &&
                         std::clamp(occurrence.sample, -kBeyond, kBeyond) == occurrence.sample;
    const std::int64_t begin =
        isThere ? own->own.begin - own->piece.firstSample + occurrence.sample + first : 0;
    if (!isThere || begin < own->around.begin || begin + length > own->around.end) {
      ++epochs.leftOut.incomplete;
      continue;
    }
    int touched = 0;
    bool isBad = false;
    auto trial = std::ranges::upper_bound(trials, begin, {}, [](const PlacedTrial& t) { return t.own.end; });
    for (; trial != trials.end() && trial->own.begin < begin + length; ++trial, ++touched) {
      const std::int64_t inTrial = trial->piece.firstSample - trial->own.begin;
      isBad = isBad || bad.touch(trial->piece.fileTrial, std::max(begin, trial->own.begin) + inTrial,
                                 std::min(begin + length, trial->own.end) + inTrial);
    }
    if (epoching.skipBad && isBad) {
      ++epochs.leftOut.bad;
      continue;
    }
    epochs.crossBorders = epochs.crossBorders || touched > 1;
    epochs.layout.starts.push_back({0, begin});
    epochs.occurrences.push_back(occurrence);
  }
  return epochs;
}

void rejectEpochs(EpochPlaces& epochs, const std::shared_ptr<const SampleSource>& run,
                  const std::vector<PeakToPeak>& limits, const std::function<void(double)>& show) {
  Views::Layout layout = epochs.layout;
  layout.baseline.reset();  // it changes no difference
  const Views views(run, std::move(layout), {});
  const Shape shape = views.shape();
  std::vector<double> limit(static_cast<std::size_t>(shape.channels),
                            std::numeric_limits<double>::infinity());
  for (std::size_t c = 0; c < limit.size(); ++c)
    for (const PeakToPeak& one : limits)
      if (isOfKind(run->channels()[c], one.kind)) limit[c] = std::min(limit[c], one.limit);

  constexpr std::int64_t kMost = 1 << 19;
  const std::int64_t atOnce = std::max<std::int64_t>(kMost / std::max(shape.channels, 1), 1);
  std::vector<double> values;
  const auto isBeyond = [&](std::int64_t epoch) {
    std::vector<double> least(limit.size(), std::numeric_limits<double>::infinity());
    std::vector<double> most(limit.size(), -std::numeric_limits<double>::infinity());
    for (std::int64_t first = 0; first < shape.samples; first += atOnce) {
      const std::int64_t count = std::min(atOnce, shape.samples - first);
      values.resize(limit.size() * static_cast<std::size_t>(count));
      views.read({.trial = epoch, .channels = shape.channels, .first = first, .samples = count},
                 std::span(values));
      const double* value = values.data();
      for (std::size_t c = 0; c < limit.size(); ++c)
        for (std::int64_t i = 0; i < count; ++i, ++value) {
          least[c] = *value < least[c] ? *value : least[c];  // a missing value is neither
          most[c] = *value > most[c] ? *value : most[c];
        }
    }
    for (std::size_t c = 0; c < limit.size(); ++c)
      if (most[c] - least[c] > limit[c]) return true;
    return false;
  };
  std::size_t kept = 0;
  for (std::int64_t i = 0; i < shape.trials; ++i) {
    show(static_cast<double>(i) / static_cast<double>(shape.trials));
    if (isBeyond(i)) {
      ++epochs.leftOut.rejected;
      continue;
    }
    epochs.layout.starts[kept] = epochs.layout.starts[static_cast<std::size_t>(i)];
    epochs.occurrences[kept++] = epochs.occurrences[static_cast<std::size_t>(i)];
  }
  epochs.layout.starts.resize(kept);
  epochs.occurrences.resize(kept);
}

std::vector<Finding> findingsAbout(const EpochPlaces& epochs, const std::filesystem::path& file) {
  const LeftOut& out = epochs.leftOut;
  const std::int64_t all = std::ssize(epochs.occurrences) + out.incomplete + out.bad + out.rejected;
  std::vector<Finding> findings;
  std::vector<std::string> reasons;
  const auto say = [&](std::int64_t count, Finding::Severity severity, Code code, const char* why) {
    if (count == 0) return;
    const std::string of = std::to_string(count) + " of " + std::to_string(all);
    reasons.push_back(of + " " + why);
    findings.push_back({.severity = severity,
                        .code = wordOf(code),
                        .file = textOf(file),
                        .text = "left out " + of + " epochs " + why});
  };
  if (epochs.badNowhere > 0)
    findings.push_back({.severity = Finding::Severity::warning,
                        .code = wordOf(Code::segmentOutside),
                        .file = textOf(file),
                        .text = "is marked as bad where it has no samples (" +
                                std::to_string(epochs.badNowhere) +
                                " segments or trials): no epoch is left out for that"});
  say(out.incomplete, Finding::Severity::warning, Code::epochIncomplete, "without all of their samples");
  say(out.bad, Finding::Severity::remark, Code::epochBad, "with samples that are marked as bad");
  say(out.rejected, Finding::Severity::remark, Code::epochRejected, "beyond a peak-to-peak limit");
  if (epochs.occurrences.empty())
    throw Error(ErrorKind::refused, file,
                reasons.empty() ? "has no occurrence in the chosen trials to make an epoch of"
                                : "has no epoch that is left: " + listText(reasons),
                std::move(findings));
  return findings;
}

}  // namespace ctfmeg
