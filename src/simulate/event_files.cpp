#include "simulate/event_files.h"

#include <string>

#include "simulate/random.h"
#include "simulate/text_file.h"

namespace ctfmeg::simulate {

namespace {

// The same for every dataset, so that the same options give the same bytes wherever they are written.
constexpr const char* kPath = "PATH OF DATASET:\nsimulated.ds\n\n\n";

struct Event {
  int trial;
  double seconds;
};

std::string blockText(const char* name, const char* comment, const char* color, int id) {
  return std::string("CLASSGROUPID:\n+3\nNAME:\n") + name + "\nCOMMENT:\n" + comment + "\nCOLOR:\n" + color +
         "\nEDITABLE:\nYes\nCLASSID:\n" + signedText(id) + "\n";
}

std::string markerText(const std::string& heading, const std::vector<Event>& events) {
  std::string text = heading + "NUMBER OF SAMPLES:\n" + std::to_string(events.size()) +
                     "\nLIST OF SAMPLES:\nTRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)\n";
  for (const Event& event : events)
    text +=
        "                  " + signedText(event.trial) + "\t\t\t\t     " + signedText(event.seconds) + "\n";
  return text + "\n\n";
}

std::string markersText(const Options& options) {
  constexpr double kReaction = 0.32, kSpread = 0.08;  // seconds
  const double end = static_cast<double>(options.samples - options.preTrigger) / options.rate;
  const double start = -options.preTrigger / options.rate;
  Random random(~options.seed);
  std::vector<Event> tones, presses;
  for (int trial = 0; trial < options.trials; ++trial) {
    const double reaction = kReaction + kSpread * random.symmetric();
    if (start <= 0 && 0 < end) tones.push_back({trial, 0});
    if (start <= reaction && reaction < end) presses.push_back({trial, reaction});
  }
  return std::string(kPath) + "NUMBER OF MARKERS:\n2\n\n\n" +
         markerText(blockText("tone", "start of the tone", "blue", 1), tones) +
         markerText(blockText("button", "", "Red", 2), presses);
}

std::string classesText(const Options& options) {
  std::string trials;
  if (options.trials > 1) trials = "                  " + signedText(options.trials - 1) + "\n";
  return std::string(kPath) + "NUMBER OF CLASSES:\n1\n\n\n" +
         blockText("BAD", "the subject moved", "Red", 1) + "NUMBER OF TRIALS:\n" +
         (trials.empty() ? "0" : "1") + "\nLIST OF TRIALS:\nTRIAL NUMBER\n" + trials + "\n\n";
}

std::string badSegmentsText(const Options& options) {
  if (options.trials < 2) return {};
  const double duration = static_cast<double>(options.samples) / options.rate;
  return std::to_string(options.trials - 1) + "\t\t" + numberText(0.25 * duration) + "\t\t" +
         numberText(0.5 * duration) + "\n";
}

std::vector<std::string> gradiometerNames(const std::vector<Channel>& channels) {
  std::vector<std::string> names;
  for (const Channel& channel : channels)
    if (channel.type == SensorType::gradiometer)
      names.push_back(channel.name.substr(0, channel.name.find('-')));
  return names;
}

std::string virtualChannelsText(const std::vector<std::string>& gradiometers) {
  std::string text = "// Virtual channel configuration\n";
  if (gradiometers.size() < 2) return text;
  return text + "\nVirtualChannel\n{\n\tName:\tdifference\n\tUnit:\tT\n\tRef:\t" + gradiometers[0] +
         ",1\n\tRef:\t" + gradiometers[1] + ",-1\n}\n";
}

}  // namespace

void writeEventFiles(const std::filesystem::path& directory, const Options& options,
                     const std::vector<Channel>& channels) {
  const auto gradiometers = gradiometerNames(channels);
  writeText(directory / "MarkerFile.mrk", markersText(options));
  writeText(directory / "ClassFile.cls", classesText(options));
  writeText(directory / "bad.segments", badSegmentsText(options));
  writeText(directory / "BadChannels", gradiometers.size() < 2 ? "" : gradiometers.back() + "\n");
  writeText(directory / "VirtualChannels", virtualChannelsText(gradiometers));
}

}  // namespace ctfmeg::simulate
