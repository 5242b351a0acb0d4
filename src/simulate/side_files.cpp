#include <array>
#include <charconv>
#include <cmath>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/encoding.h"
#include "simulate/files.h"
#include "simulate/output.h"
#include "simulate/random.h"
#include "simulate/timeline.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::simulate {

namespace {

/// With six digits, as these files have them, the same on every system.
std::string numberText(double value) {
  constexpr int kDigits = 6;
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, kDigits).ptr;
  return {text.data(), end};
}

/// With its sign, as marker and class files have numbers.
std::string signedText(double value) { return (value < 0 ? "" : "+") + numberText(value); }
std::string signedText(int value) { return (value < 0 ? "" : "+") + std::to_string(value); }

struct HeadCoil {
  const char* name;
  Vector3 headCm;
  Vector3 assumedInDewarCm;
};

/// The ears are opposite each other and the nasion straight ahead: this defines the head frame.
constexpr std::array<HeadCoil, 3> kHeadCoils{{{"nasion", {10.4, 0, 0}, {5.65685, 5.65685, -27}},
                                              {"left ear", {0.3, 7.4, 0}, {-5.65685, 5.65685, -27}},
                                              {"right ear", {-0.3, -7.4, 0}, {5.65685, -5.65685, -27}}}};

std::string coilText(const std::string& kind, const char* coil, const std::string& frame, const Vector3& cm) {
  return kind + " " + coil + " coil position relative to " + frame + " (cm):\n\tx = " + numberText(cm.x) +
         "\n\ty = " + numberText(cm.y) + "\n\tz = " + numberText(cm.z) + "\n";
}

std::string headCoilText() {
  std::string text;
  for (const HeadCoil& coil : kHeadCoils)
    text += coilText("standard", coil.name, "dewar", coil.assumedInDewarCm);
  for (const HeadCoil& coil : kHeadCoils)
    text += coilText("measured", coil.name, "dewar", dewarPositionFromHead(coil.headCm));
  for (const HeadCoil& coil : kHeadCoils)
    text += coilText("measured", coil.name, "head", coil.headCm);
  return text;
}

std::string positionText(const Vector3& cm) {
  return "\t" + numberText(cm.x) + "\t" + numberText(cm.y) + "\t" + numberText(cm.z) + "\n";
}

/// The dataset's name without the folders above it, so that the same options and name give the same bytes
/// wherever they are written.
std::string pathText(const std::filesystem::path& stem) {
  const std::string name = textOf(stem.filename());
  return "PATH OF DATASET:\n" + windows1252FromUtf8(name).value_or(name) + ".ds\n\n\n";
}

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

/// Something that happened so many seconds after the tone of a trial, as the marker file of a continuous run
/// counts it: in the trial that was recorded then. Nothing when none was.
void addInRun(std::vector<Event>& events, const Options& options, const Timeline& timeline, int trial,
              double seconds) {
  const std::int64_t sample = timeline.triggerSample(trial) + std::llround(seconds * options.rate);
  const int in = timeline.trialAt(sample);
  if (in >= 0)
    events.push_back({in, static_cast<double>(sample - timeline.triggerSample(in)) / options.rate});
}

std::string markersText(const std::string& path, const Options& options) {
  constexpr double kReaction = 0.32, kSpread = 0.08;  // seconds
  const double end = static_cast<double>(options.samples - options.preTrigger) / options.rate;
  const double start = -options.preTrigger / options.rate;
  Random random(~options.seed);
  std::vector<Event> tones, presses;
  const Timeline timeline(options);
  for (int trial = 0; trial < options.trials; ++trial) {
    const double reaction = kReaction + kSpread * random.symmetric();
    if (options.continuous) {
      addInRun(tones, options, timeline, trial, 0);
      addInRun(presses, options, timeline, trial, reaction);
      continue;
    }
    if (start <= 0 && 0 < end) tones.push_back({trial, 0});
    if (start <= reaction && reaction < end) presses.push_back({trial, reaction});
  }
  return path + "NUMBER OF MARKERS:\n2\n\n\n" +
         markerText(blockText("tone", "start of the tone", "blue", 1), tones) +
         markerText(blockText("button", "", "Red", 2), presses);
}

std::string classesText(const std::string& path, const Options& options) {
  std::string trials;
  if (options.trials > 1) trials = "                  " + signedText(options.trials - 1) + "\n";
  return path + "NUMBER OF CLASSES:\n1\n\n\n" + blockText("BAD", "the subject moved", "Red", 1) +
         "NUMBER OF TRIALS:\n" + (trials.empty() ? "0" : "1") + "\nLIST OF TRIALS:\nTRIAL NUMBER\n" + trials +
         "\n\n";
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

/// Tags and values, one after another, between the marks of blocks.
class InfodsBuffer {
 public:
  InfodsBuffer() { m_out.characters(kMark); }

  void beginBlock(std::string_view tag) {
    put(tag, 2);
    m_out.characters(kMark);
  }
  void end() { name("EndOfParameters"); }
  void text(std::string_view tag, std::string_view value) {
    put(tag, 10);
    name(value);
  }
  void integer(std::string_view tag, std::int32_t value) {
    put(tag, 5);
    m_out.int32(value);
  }
  void number(std::string_view tag, double value) {
    put(tag, 4);
    m_out.float64(value);
  }
  void short16(std::string_view tag, std::int16_t value) {
    put(tag, 7);
    m_out.int16(value);
  }

  BigEndianBuffer take() { return std::move(m_out); }

 private:
  static constexpr std::string_view kMark = "WS1_";

  void name(std::string_view text) {
    m_out.int32(static_cast<std::int32_t>(text.size()));
    m_out.characters(text);
  }
  void put(std::string_view tag, std::int32_t type) {
    name(tag);
    m_out.int32(type);
  }

  BigEndianBuffer m_out;
};

void putPatient(InfodsBuffer& out) {
  out.beginBlock("_PATIENT_INFO");
  out.text("_PATIENT_UID", "2.25.1");
  out.text("_PATIENT_NAME_FIRST", "Simulated");
  out.text("_PATIENT_NAME_MIDDLE", "");
  out.text("_PATIENT_NAME_LAST", "Subject");
  out.text("_PATIENT_ID", "SIM0001");
  out.text("_PATIENT_BIRTHDATE", "20000101000000");
  out.integer("_PATIENT_SEX", 2);
  out.end();
}

void putProcedure(InfodsBuffer& out) {
  out.beginBlock("_PROCEDURE_INFO");
  out.integer("_PROCEDURE_VERSION", 1);
  out.text("_PROCEDURE_UID", "2.25.2");
  out.text("_PROCEDURE_TITLE", "Auditory responses");
  out.integer("_PROCEDURE_STATUS", 1);
  out.text("_PROCEDURE_STARTEDDATETIME", "20240101120000");
  out.end();
}

void putDataset(InfodsBuffer& out, const Options& options) {
  out.beginBlock("_DATASET_INFO");
  out.integer("_DATASET_VERSION", 2);
  out.text("_DATASET_UID", "2.25.3");
  out.text("_DATASET_STATUS", "Not reviewed");
  out.text("_DATASET_COLLECTIONDATETIME", "20240101120000");
  out.text("_DATASET_COLLECTIONSOFTWARE", "CTF dataset simulation");
  out.text("_DATASET_SYSTEM", "simulated");
  out.text("_DATASET_SYSTEMTYPE", "cmeg");
  out.number("_DATASET_LOWERBANDWIDTH", 0.05);
  out.number("_DATASET_UPPERBANDWIDTH", options.rate / 4);
  out.integer("_DATASET_HZ_MODE", 5);
  out.number("_DATASET_MAXHEADMOTION", 0.00125);
  out.short16("_DATASET_MAXHEADMOTIONTRIAL", 1);
  out.text("_DATASET_MAXHEADMOTIONCOIL", "Na");
  out.end();
}

BigEndianBuffer encodeInfods(const Options& options) {
  InfodsBuffer out;
  putPatient(out);
  putProcedure(out);
  putDataset(out, options);
  out.end();
  return out.take();
}

struct ElectrodeTexts {
  std::string electrodes;
  std::string positions;
};

ElectrodeTexts electrodeTexts(const std::vector<Channel>& channels) {
  ElectrodeTexts texts;
  int count = 0;
  for (const Channel& channel : channels) {
    if (channel.type != SensorType::eeg) continue;
    const std::string number = std::to_string(++count);
    const std::string position = positionText(channel.headCoils.front().positionCm);
    texts.electrodes.append(number).append("\t").append(channel.name).append(position);
    texts.positions.append(number).append(position);
  }
  texts.positions.insert(0, std::to_string(count) + "\n");
  for (const auto& [label, place] : {std::pair{"nasion", 0}, {"left", 1}, {"right", 2}})
    texts.positions += label + positionText(kHeadCoils[static_cast<std::size_t>(place)].headCm);
  return texts;
}

void writeFile(const std::filesystem::path& stem, std::string_view suffix, std::span<const char> bytes) {
  OutputFile file(stem, suffix);
  file.write(bytes);
  file.close();
}

}  // namespace

void writeSideFiles(const std::filesystem::path& stem, const Options& options,
                    const std::vector<Channel>& channels) {
  writeFile(stem, ".infods", encodeInfods(options).bytes());

  const auto [electrodes, positions] = electrodeTexts(channels);
  writeFile(stem, ".hc", headCoilText());
  if (!electrodes.empty()) writeFile(stem, ".eeg", electrodes);
  writeFile(stem, ".pos", positions);

  const std::vector<std::string> gradiometers = gradiometerNames(channels);
  const std::filesystem::path directory = stem.parent_path();
  writeFile(directory / "MarkerFile", ".mrk", markersText(pathText(stem), options));
  writeFile(directory / "ClassFile", ".cls", classesText(pathText(stem), options));
  writeFile(directory / "bad", ".segments", badSegmentsText(options));
  writeFile(directory / "BadChannels", "",
            gradiometers.size() < 2 ? std::string() : gradiometers.back() + "\n");
  writeFile(directory / "VirtualChannels", "", virtualChannelsText(gradiometers));
}

}  // namespace ctfmeg::simulate
