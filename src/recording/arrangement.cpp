#include "recording/arrangement.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "base/finding_codes.h"
#include "recording/selection.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace {

/// "99.0 s (118799 samples) are missing after trial 0".
std::string textOf(const Gap& gap) {
  char text[128];
  const double seconds = std::abs(gap.seconds);
  std::snprintf(text, sizeof text, seconds < 0.95 ? "%.3g s (%lld samples) " : "%.1f s (%lld samples) ",
                seconds, static_cast<long long>(std::abs(gap.samples)));
  return std::string(text) + (gap.samples > 0 ? "are missing" : "are there twice, by the clock,") +
         " after trial " + std::to_string(gap.afterTrial);
}

Finding findingAbout(Code code, Finding::Severity severity, const Arranging& recording, std::string text) {
  return {.severity = severity,
          .code = wordOf(code),
          .file = ctfmeg::textOf(recording.file),
          .text = std::move(text)};
}

[[noreturn]] void refuseGaps(const std::vector<Gap>& gaps, const Arranging& recording) {
  constexpr std::size_t kMostSaid = 5;
  std::vector<Finding> findings;
  std::string text = "is no continuous run: ";
  for (std::size_t i = 0; i < gaps.size(); ++i) {
    findings.push_back(findingAbout(Code::clockGap, Finding::Severity::error, recording, textOf(gaps[i])));
    if (i < kMostSaid) text += (i == 0 ? "" : ", ") + textOf(gaps[i]);
  }
  if (gaps.size() > kMostSaid) text += ", and after " + std::to_string(gaps.size() - kMostSaid) + " more";
  throw Error(ErrorKind::refused, recording.file, text, std::move(findings));
}

/// Trials as one run, before it is cut to a span.
struct Run {
  std::vector<Part> parts;
  std::int64_t samples = 0;
  std::vector<Gap> gaps;
  std::vector<std::int64_t> gapsAt;  ///< where each is in the run
};

Run runOf(const Selection& selection, const std::vector<int>& trials, const Arranging& recording,
          std::vector<Finding>& findings) {
  // Years at any rate, and few enough that the values of all channels and gaps can be counted.
  constexpr std::int64_t kMostFilled = std::int64_t{1} << 43;
  const std::int64_t trialSamples = recording.record.samplesPerTrial;
  Run run;
  double start = 0.0;
  std::int64_t filled = 0;
  bool reported = false;
  for (std::size_t i = 0; i < trials.size(); ++i) {
    if (i > 0) {
      const int before = trials[i - 1];
      auto gap = recording.gapBetween(before, trials[i]);
      if (!gap) {
        const std::int64_t left = (trials[i] - before - 1) * trialSamples;
        gap = Gap{before, static_cast<double>(left) / recording.record.sampleRate, left};
        if (!reported) findings.push_back(noClock(recording.file));
        reported = true;
      }
      if (gap->samples != 0) {
        run.gaps.push_back(*gap);
        run.gapsAt.push_back(run.samples);
        if (selection.gaps == Gaps::fill) {
          if (gap->samples < 0 || gap->samples > kMostFilled - filled)
            throw Error(ErrorKind::refused, recording.file,
                        "has a gap that can't be filled: " + textOf(*gap));
          run.parts.push_back({.samples = gap->samples, .at = run.samples, .start = start});
          run.samples += gap->samples;
          filled += gap->samples;
        }
        start += static_cast<double>(gap->samples);
      }
    }
    run.parts.push_back({trials[i], 0, trialSamples, run.samples, start});
    run.samples += trialSamples;
    start += static_cast<double>(trialSamples);
  }
  if (selection.gaps == Gaps::refuse && !run.gaps.empty()) refuseGaps(run.gaps, recording);
  return run;
}

/// The parts from `first` on, `length` samples.
std::vector<Part> cutOut(const std::vector<Part>& parts, std::int64_t first, std::int64_t length) {
  std::vector<Part> kept;
  for (Part part : parts) {
    const std::int64_t from = std::max(part.at, first), to = std::min(part.at + part.samples, first + length);
    if (from >= to) continue;
    part.firstSample += from - part.at;
    part.start += static_cast<double>(from - part.at);
    part.at = from - first;
    part.samples = to - from;
    kept.push_back(part);
  }
  return kept;
}

}  // namespace

Finding noClock(const std::filesystem::path& file) {
  return {.severity = Finding::Severity::warning,
          .code = wordOf(Code::clockNone),
          .file = textOf(file),
          .text = "has no clock that says whether trials follow each other: they are taken as doing so"};
}

Arrangement arrange(const Selection& selection, const std::vector<int>& trials, const Arranging& recording,
                    std::vector<Finding>& findings) {
  const RecordInfo& record = recording.record;
  Arrangement arrangement{.sampleRate = record.sampleRate};
  if (selection.continuous) {
    const Run run = runOf(selection, trials, recording, findings);
    const Cut cut = cutOf(selection, recording.file, {run.samples, record.sampleRate, 0});
    arrangement.samples = cut.samples;
    arrangement.step = cut.step;
    arrangement.trials.push_back(cutOut(run.parts, cut.first, cut.length));
    for (std::size_t i = 0; i < run.gaps.size(); ++i) {
      const std::int64_t filled = selection.gaps == Gaps::fill ? run.gaps[i].samples : 0;
      if (run.gapsAt[i] + filled > cut.first && run.gapsAt[i] < cut.first + cut.length)
        arrangement.gaps.push_back(run.gaps[i]);
    }
    for (const Part& part : arrangement.trials[0])
      arrangement.missing = arrangement.missing || part.fileTrial == Part::kMissing;
    return arrangement;
  }
  const Cut cut =
      cutOf(selection, recording.file, {record.samplesPerTrial, record.sampleRate, record.preTrigSamples});
  arrangement.samples = cut.samples;
  arrangement.step = cut.step;
  for (const int trial : trials)
    for (std::int64_t piece = 0; piece < cut.pieces; ++piece) {
      const std::int64_t first = cut.first + piece * cut.length;
      arrangement.trials.push_back(
          {{trial, first, cut.length, 0, static_cast<double>(first - record.preTrigSamples)}});
    }
  return arrangement;
}

}  // namespace ctfmeg
