#include <cstdio>

#include <ctfmeg/recording.h>

/// Prints the shape of the recording that is named and its first value.
int main(int /*argc*/, char** argv) {
  const auto recording = ctfmeg::Recording::open(argv[1]);
  const ctfmeg::Trial trial = recording.trial(0);
  std::printf("%d %d %lld\n", recording.record().numTrials, trial.channels(),
              static_cast<long long>(trial.samples()));
  return 0;
}
