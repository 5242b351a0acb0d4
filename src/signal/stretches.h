#pragma once

#include <cstdint>
#include <vector>

#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>

namespace ctfmeg {

/// Samples of one trial of the file that follow each other in a trial of a source.
struct Stretch {
  std::int64_t trial = 0;  ///< of the source
  std::int64_t at = 0;     ///< sample of it with which they begin
  std::int64_t samples = 0;
  int fileTrial = 0;
  std::int64_t firstSample = 0;  ///< of the trial of the file
  std::int64_t step = 1;         ///< samples of the file from one to the next

  /// Samples of the file since the run that they belong to began.
  std::int64_t position = 0;
  bool goesOn = false;  ///< the run began before

  std::int64_t fileSample(std::int64_t sample) const { return firstSample + sample * step; }
};

/// All samples of a source, in their order.
struct Stretches {
  std::vector<Stretch> all{};
  bool unknown = false;  ///< trials are taken as adjoining although no clock says so
};

/// Samples of a trial, and of trials that adjoin, are a run as far as they are less than two steps apart:
/// what is left over by taking every so many samples is no hole.
Stretches stretchesOf(const Recording& recording, const SampleSource& source, const Timeline& timeline);

}  // namespace ctfmeg
