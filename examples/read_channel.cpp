// Prints one channel of one trial in its physical unit: a line a sample, seconds from the trigger and value.
//   read_channel DATASET CHANNEL [TRIAL]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <ctfmeg/recording.h>

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    std::fprintf(stderr, "read_channel DATASET CHANNEL [TRIAL]\n");
    return 2;
  }
  const std::string wanted = argv[2];
  const int number = argc == 4 ? std::atoi(argv[3]) : 0;
  try {
    const auto recording = ctfmeg::Recording::open(argv[1]);
    const auto& channels = recording.channels();
    const auto channel =
        std::find_if(channels.begin(), channels.end(), [&](const ctfmeg::Channel& candidate) {
          return candidate.name == wanted || candidate.shortName == wanted;
        });
    if (channel == channels.end()) {
      std::fprintf(stderr, "%s: has no channel %s\n", argv[1], argv[2]);
      return 1;
    }

    // Only the channel that is shown is read, whatever the size of the recording.
    const auto trial = recording.samples({.trials = {{number}}});
    std::vector<double> values(static_cast<std::size_t>(trial->shape().samples));
    trial->read({.channel = channel->index, .samples = trial->shape().samples}, values);
    std::printf("# %s of trial %d: seconds, %s\n", channel->name.c_str(), number, channel->unit.c_str());
    for (std::size_t i = 0; i < values.size(); ++i)
      std::printf("%.6f %.9e\n", trial->time(0, static_cast<std::int64_t>(i)), values[i]);
    for (const auto& warning : recording.warnings())
      std::fprintf(stderr, "%s: %s\n", warning.file.c_str(), warning.text.c_str());
  } catch (const ctfmeg::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
