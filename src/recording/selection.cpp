#include "recording/selection.h"

#include <algorithm>
#include <set>
#include <string>

#include "base/finding_codes.h"

namespace ctfmeg {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& file, const std::string& text) {
  throw Error(ErrorKind::refused, file, text);
}

}  // namespace

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
  if (selection.marker) {
    const auto marker = std::find_if(markers.begin(), markers.end(),
                                     [&](const Marker& m) { return m.name == *selection.marker; });
    if (marker == markers.end()) {
      std::string there;
      for (const Marker& m : markers)
        there += (there.empty() ? "" : ", ") + m.name;
      refuse(file, "has no marker " + *selection.marker + ": " +
                       (there.empty() ? "there are none" : "there are " + there));
    }
    std::set<int> marked;
    for (const MarkerSample& sample : marker->samples)
      if (chosen.contains(sample.trial)) marked.insert(sample.trial);
    if (marked.empty()) refuse(file, "has no trial in which marker " + *selection.marker + " occurs");
    chosen = std::move(marked);
  }
  return {chosen.begin(), chosen.end()};
}

Cut cutOf(const Selection& selection, const fs::path& file, std::int64_t samples) {
  if (selection.step < 1)
    refuse(file, "can't be resampled by " + std::to_string(selection.step) + ": 1 keeps every sample");
  if (selection.pieces < 1) refuse(file, "can't be cut into " + std::to_string(selection.pieces) + " pieces");
  Cut cut{.length = samples};
  if (selection.samples) {
    cut.first = std::max<std::int64_t>(selection.samples->first, 0);
    const std::int64_t last = std::max<std::int64_t>(std::min(selection.samples->last, samples - 1), -1);
    cut.length = last - cut.first + 1;
    if (cut.length < 1)
      refuse(file, "has no samples in that span: a trial has samples 0 to " + std::to_string(samples - 1));
  }
  cut.pieces = std::clamp<std::int64_t>(selection.pieces, 1, std::max<std::int64_t>(cut.length, 1));
  cut.length /= cut.pieces;
  cut.step = std::clamp<std::int64_t>(selection.step, 1, std::max<std::int64_t>(cut.length, 1));
  cut.samples = cut.length / cut.step;
  return cut;
}

Error missingTrial(int trial, const fs::path& file, std::vector<Finding> findings) {
  std::string text = "does not have trial " + std::to_string(trial) + " whole";
  for (const Finding& finding : findings)
    if (is(finding, Code::meg4Short)) text += ": the set " + finding.text;
  return {ErrorKind::damaged, file, text, std::move(findings)};
}

}  // namespace ctfmeg
