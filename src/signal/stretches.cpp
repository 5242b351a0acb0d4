#include "signal/stretches.h"

#include <algorithm>

namespace ctfmeg {
namespace {

bool isGapAfter(int trial, const Timeline& timeline) {
  const auto gap = std::lower_bound(timeline.gaps.begin(), timeline.gaps.end(), trial,
                                    [](const Gap& each, int number) { return each.afterTrial < number; });
  return gap != timeline.gaps.end() && gap->afterTrial == trial;
}

}  // namespace

Stretches stretchesOf(const Recording& recording, const SampleSource& source, const Timeline& timeline) {
  const Shape shape = source.shape();
  const std::int64_t length = recording.record().samplesPerTrial;
  Stretches stretches;
  for (std::int64_t t = 0; t < shape.trials; ++t) {
    const std::int64_t step = source.origin(t).step;
    const std::vector<Piece> pieces = source.pieces(t);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      const Piece& piece = pieces[i];
      const std::int64_t next = i + 1 < pieces.size() ? pieces[i + 1].at : shape.samples;
      // What is missing between two trials is in neither.
      const std::int64_t samples = std::min(next - piece.at, (length - piece.firstSample + step - 1) / step);
      Stretch now{t, piece.at, samples, piece.fileTrial, piece.firstSample, step};
      if (!stretches.all.empty()) {
        const Stretch& before = stretches.all.back();
        const std::int64_t trials = now.fileTrial - before.fileTrial;
        const std::int64_t distance = trials * length + now.firstSample - before.firstSample;
        now.goesOn = trials <= 1 && distance < (before.samples + 1) * step &&
                     (trials == 0 || !isGapAfter(before.fileTrial, timeline));
        if (now.goesOn) now.position = before.position + distance;
        stretches.unknown = stretches.unknown || (now.goesOn && trials == 1 && !timeline.trialsAdjoin);
      }
      stretches.all.push_back(now);
    }
  }
  return stretches;
}

}  // namespace ctfmeg
