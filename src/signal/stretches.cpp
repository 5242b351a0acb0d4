#include "signal/stretches.h"

#include <algorithm>
#include <cmath>

namespace ctfmeg {
namespace {

/// A trial adjoins the next one of the file when that begins one sample period after its last sample, to half
/// of one.
bool adjoinsNext(std::int64_t trial, const RecordInfo& record, const Timeline& timeline) {
  const auto starts = timeline.starts.begin() + trial;
  const double distance = (starts[1] - starts[0]) * record.sampleRate;
  return !(std::abs(distance - static_cast<double>(record.samplesPerTrial)) > 0.5);  // without a rate, too
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
                     (trials == 0 || adjoinsNext(before.fileTrial, recording.record(), timeline));
        if (now.goesOn) now.position = before.position + distance;
        stretches.unknown = stretches.unknown || (now.goesOn && trials == 1 && !timeline.trialsAdjoin);
      }
      stretches.all.push_back(now);
    }
  }
  return stretches;
}

}  // namespace ctfmeg
