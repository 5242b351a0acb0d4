// Averages channels around the occurrences of a marker: a line a sample, seconds from the marker and the mean
// of each channel.
//   average_epochs DATASET MARKER CHANNELS SECONDS_BEFORE SECONDS_AFTER

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <ctfmeg/processing.h>

namespace {

void average(const ctfmeg::Recording& recording, const char* marker, const char* channels, double before,
             double after) {
  ctfmeg::Processing processing;
  processing.epochs = {
      .occurrences = ctfmeg::occurrencesOf(recording, {marker}), .from = -before, .to = after};
  const ctfmeg::ProcessedSamples epochs =
      ctfmeg::processed(recording, {.channels = {{channels}}}, processing);

  const auto mean = ctfmeg::averaged(epochs.source);
  const ctfmeg::Shape shape = mean->shape();
  std::vector<double> values(static_cast<std::size_t>(shape.channels * shape.samples));
  mean->read({.channels = shape.channels, .samples = shape.samples}, values);

  std::printf("# %s: %zu averaged, %d too near an edge; seconds", marker, epochs.epochs.size(),
              static_cast<int>(epochs.leftOut.incomplete));
  for (const ctfmeg::Channel& channel : mean->channels())
    std::printf(", %s in %s", channel.name.c_str(), channel.unit.c_str());
  std::printf("\n");
  for (std::int64_t s = 0; s < shape.samples; ++s) {
    std::printf("%.6f", mean->time(0, s));
    for (std::int64_t c = 0; c < shape.channels; ++c)
      std::printf(" %.9e", values[static_cast<std::size_t>(c * shape.samples + s)]);
    std::printf("\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "average_epochs DATASET MARKER CHANNELS SECONDS_BEFORE SECONDS_AFTER\n");
    return 2;
  }
  try {
    average(ctfmeg::Recording::open(argv[1]), argv[2], argv[3], std::atof(argv[4]), std::atof(argv[5]));
  } catch (const std::exception& error) {  // ctfmeg::Error among them
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
