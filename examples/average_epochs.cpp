// Averages one channel around the occurrences of a marker: a line a sample, seconds from the marker and mean
// value.
//   average_epochs DATASET MARKER CHANNEL SECONDS_BEFORE SECONDS_AFTER

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <ctfmeg/recording.h>

namespace {

template <class Items>
const auto& named(const Items& items, const std::string& name) {
  const auto found =
      std::find_if(items.begin(), items.end(), [&](const auto& item) { return item.name == name; });
  if (found == items.end()) throw std::invalid_argument("there is no " + name);
  return *found;
}

void average(const ctfmeg::Recording& recording, const ctfmeg::Marker& marker, const ctfmeg::Channel& channel,
             double secondsBefore, double secondsAfter) {
  const double rate = recording.record().sampleRate;
  const auto before = std::llround(secondsBefore * rate), after = std::llround(secondsAfter * rate);
  if (before < 0 || after < 0)
    throw std::invalid_argument("an epoch begins before its marker and ends after it");
  const auto samples = recording.samples();
  std::vector<double> sum(static_cast<std::size_t>(before + after + 1)), epoch(sum.size());
  int averaged = 0, skipped = 0;
  for (const ctfmeg::MarkerSample& event : marker.samples) {
    // The file may have markers in trials that an interrupted recording no longer holds.
    const ctfmeg::Shape there = samples->shape();
    if (event.trial < 0 || event.trial >= there.trials || event.sample < before ||
        event.sample + after >= there.samples) {
      ++skipped;
      continue;
    }
    samples->read({.trial = event.trial,
                   .channel = channel.index,
                   .first = event.sample - before,
                   .samples = before + after + 1},
                  epoch);
    for (std::size_t i = 0; i < sum.size(); ++i)
      sum[i] += epoch[i];
    ++averaged;
  }
  std::printf("# %s around %s: %d averaged, %d too near an edge; seconds, %s\n", channel.name.c_str(),
              marker.name.c_str(), averaged, skipped, channel.unit.c_str());
  if (averaged == 0) return;
  for (std::size_t i = 0; i < sum.size(); ++i)
    std::printf("%.6f %.9e\n", (static_cast<double>(i) - static_cast<double>(before)) / rate,
                sum[i] / averaged);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "average_epochs DATASET MARKER CHANNEL SECONDS_BEFORE SECONDS_AFTER\n");
    return 2;
  }
  try {
    const auto recording = ctfmeg::Recording::open(argv[1]);
    average(recording, named(recording.markers(), argv[2]), named(recording.channels(), argv[3]),
            std::atof(argv[4]), std::atof(argv[5]));
  } catch (const std::exception& error) {  // ctfmeg::Error among them
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
