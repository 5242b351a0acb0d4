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
    // Only the trial that is shown is read, whatever the size of the recording.
    ctfmeg::ReadOptions options;
    options.route = ctfmeg::TrialList{{number}};
    const auto recording = ctfmeg::Recording::read(argv[1], options);
    const auto& channels = recording.channels();
    const auto channel =
        std::find_if(channels.begin(), channels.end(), [&](const ctfmeg::Channel& candidate) {
          return candidate.name == wanted || candidate.shortName == wanted;
        });
    if (channel == channels.end()) {
      std::fprintf(stderr, "%s: has no channel %s\n", argv[1], argv[2]);
      return 1;
    }

    // Trials that were chosen are numbered from 0 again; `origin()` has their number in the file.
    const auto trial = recording.trial(recording.trialNumbers().front());
    std::vector<double> values(static_cast<std::size_t>(trial.samples()));
    trial.physical(channel->index, values);
    std::printf("# %s of trial %d: seconds, %s\n", channel->name.c_str(), trial.origin().fileTrial,
                channel->unit.c_str());
    for (std::size_t i = 0; i < values.size(); ++i)
      std::printf("%.6f %.9e\n", trial.time(static_cast<std::int64_t>(i)), values[i]);
    for (const auto& warning : recording.warnings())
      std::fprintf(stderr, "%s: %s\n", warning.file.c_str(), warning.text.c_str());
  } catch (const ctfmeg::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
