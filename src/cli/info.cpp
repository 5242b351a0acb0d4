#include <algorithm>
#include <cmath>
#include <iostream>

#include "cli/commands.h"
#include "cli/identity.h"
#include "cli/json_output.h"
#include "cli/number_text.h"
#include "cli/process.h"
#include "cli/say.h"
#include "cli/session.h"
#include "cli/visible_text.h"

namespace ctfmeg::cli {
namespace {

/// A line of the overview; none without a value.
void line(const char* label, const std::string& value) {
  constexpr std::size_t kLabelWidth = 14;
  if (value.empty()) return;
  std::string padded(label);
  padded.resize(std::max(kLabelWidth, padded.size()), ' ');
  std::cout << "  " << padded << visible(value) << '\n';
}

std::string joined(const std::string& first, const std::string& second) {
  return first + (first.empty() || second.empty() ? "" : " ") + second;
}

/// Seconds can be told from samples: there is a rate.
bool timed(const RecordInfo& record) { return std::isfinite(record.sampleRate) && record.sampleRate > 0.0; }

/// Trials and samples of each: as stored when a route has read some, else as the header has them.
struct Shape {
  std::int64_t trials, samples;
};

Shape shapeOf(const Recording& recording) {
  const auto& stored = recording.trialNumbers();
  if (stored.empty()) return {recording.record().numTrials, recording.record().samplesPerTrial};
  return {static_cast<std::int64_t>(stored.size()), recording.trial(stored.front()).samples()};
}

std::string trialsText(const Shape& shape, const RecordInfo& record) {
  std::string text = std::to_string(shape.trials) + " x " + std::to_string(shape.samples) + " samples at " +
                     shortest(record.sampleRate) + " Hz";
  if (!timed(record)) return text;
  const double duration = static_cast<double>(shape.samples) / record.sampleRate;
  text += ", " + seconds(duration) + " each";
  if (shape.trials > 1) text += ", " + seconds(duration * static_cast<double>(shape.trials)) + " in all";
  return text;
}

/// Where the trigger lies in the trials that were read, or in those of the file.
std::string triggerText(const Recording& recording) {
  const RecordInfo& record = recording.record();
  const auto& stored = recording.trialNumbers();
  if (!timed(record)) return {};
  if (stored.size() > 1 &&
      recording.trial(stored[0]).origin().fileTrial == recording.trial(stored[1]).origin().fileTrial)
    return {};  // pieces of one trial: each has its own
  const double start =
      stored.empty() ? -1.0 * record.preTrigSamples / record.sampleRate : recording.trial(stored[0]).time(0);
  const std::int64_t sample = std::llround(-start * record.sampleRate);
  if (sample == 0) return "at the first sample";
  return start < 0.0 ? "at sample " + std::to_string(sample) + ", " + seconds(-start) + " into each trial"
                     : seconds(start) + " before each trial";
}

/// "273 gradiometer, 20 ref-gradiometer", in the order in which the names first occur.
template <class List, class NameOf>
std::string tally(const List& list, NameOf nameOfItem) {
  std::vector<std::pair<std::string, int>> counts;
  for (const auto& item : list) {
    const std::string name = nameOfItem(item);
    const auto known =
        std::find_if(counts.begin(), counts.end(), [&](const auto& c) { return c.first == name; });
    if (known == counts.end())
      counts.emplace_back(name, 1);
    else
      ++known->second;
  }
  std::string text;
  for (const auto& [name, count] : counts)
    text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
  return text;
}

std::string channelsText(const Recording& recording) {
  return std::to_string(recording.channels().size()) + ": " +
         tally(recording.channels(), [](const Channel& channel) { return nameOf(channel.kind); });
}

std::string badText(const Recording& recording) {
  std::string text;
  for (const std::string& name : recording.badChannels())
    text += (text.empty() ? "" : ", ") + name;
  const std::size_t segments = recording.badSegments().size();
  if (segments > 0)
    text +=
        (text.empty() ? "" : "; ") + std::to_string(segments) + (segments == 1 ? " segment" : " segments");
  return text;
}

std::string coefficientsText(const Recording& recording) {
  const auto& records = recording.coefficients();
  if (records.empty()) return {};
  return std::to_string(records.size()) + " coefficient records: " + tally(records, [](const auto& record) {
           const std::string name = coefficientTypeName(record.type);
           return name.empty() ? std::to_string(record.type) : name;
         });
}

std::string filtersText(const RecordInfo& record) {
  std::string text;
  for (const Filter& filter : record.filters)
    text += (text.empty() ? "" : ", ") + shortest(filter.frequency) + " Hz (class " +
            std::to_string(filter.filterClass) + ", type " + std::to_string(filter.filterType) + ")";
  return text;
}

void printOverview(const std::string& path, const Recording& recording, bool noIdentity) {
  const RecordInfo& record = recording.record();
  std::cout << visible(recording.name()) << '\n';
  line("Path", shownPath(path, noIdentity));
  if (!noIdentity) {
    line("Recorded", joined(record.dataDate, record.dataTime));
    line("Subject", record.subjectId);
    line("Operator", record.operatorName);
    line("Run", joined(record.runName, record.runTitle));
    line("Data", record.dataDescription);
    line("Description", record.runDescription);
  }
  const Shape shape = shapeOf(recording);
  line("Trials", trialsText(shape, record));
  line("Trigger", triggerText(recording));
  line("Channels", channelsText(recording));
  line("Bad", badText(recording));
  line("Compensation", coefficientsText(recording));
  line("Filters", filtersText(record));
  const std::int64_t samples = shape.trials * record.numChannels * shape.samples;
  if (samples > 0) line("Samples", bytes(samples * std::int64_t{sizeof(std::int32_t)}));
}

}  // namespace

int runInfo(const InfoOptions& options) {
  Session session(options.reading);
  JsonOutput json(options.reading.noIdentity);
  bool first = true;
  for (const std::string& dataset : options.datasets) {
    stopIfInterrupted();
    session.attempt(
        [&] {
          const Recording recording = session.read(dataset, options.route);
          if (options.json) return json.add(dataset, options.reading.rules, recording);
          if (!first) std::cout << '\n';
          first = false;
          printOverview(dataset, recording, options.reading.noIdentity);
        },
        [&](const Error& error) { json.add(dataset, error); });
  }
  if (options.json) std::cout << json.text();
  finishOutput();
  return session.exitCode();
}

}  // namespace ctfmeg::cli
