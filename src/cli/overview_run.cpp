#include <cmath>

#include "cli/number_text.h"
#include "cli/overview.h"

namespace ctfmeg::cli {
namespace {

/// Seconds can be told from samples: there is a rate.
bool timed(const RecordInfo& record) { return std::isfinite(record.sampleRate) && record.sampleRate > 0.0; }

}  // namespace

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

std::string channelsText(const Recording& recording) {
  return std::to_string(recording.channels().size()) + ": " +
         tally(recording.channels(), [](const Channel& channel) { return nameOf(channel.kind); });
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

}  // namespace ctfmeg::cli
