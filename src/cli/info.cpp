#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <utility>

#include "cli/messages.h"
#include "cli/process.h"
#include "describe/json.h"
#include "output/numbers.h"
#include "output/visible_text.h"

namespace ctfmeg::cli {
namespace {

using output::seconds;
using output::shortest;

// What the overview says of a dataset, each a line. Empty where there is nothing to say.

/// Both texts, with `between` where there are both.
std::string joined(const std::string& first, const char* between, const std::string& second) {
  return first + (first.empty() || second.empty() ? "" : between) + second;
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

/// "1 segment", "2 segments"; empty for none.
std::string counted(std::size_t count, const std::string& what) {
  if (count == 0) return {};
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// The names in a list, as many as fit on a line or two.
template <class List, class NameOf>
std::string names(const List& list, NameOf nameOfItem) {
  constexpr std::size_t kMost = 8;
  std::string text;
  for (std::size_t i = 0; i < std::min(list.size(), kMost); ++i)
    text = joined(text, ", ", nameOfItem(list[i]));
  if (list.size() > kMost) text += " and " + std::to_string(list.size() - kMost) + " more";
  return text;
}

/// Seconds can be computed from samples: there is a rate.
bool timed(const RecordInfo& record) { return std::isfinite(record.sampleRate) && record.sampleRate > 0.0; }

/// As a selection leaves it, else as the header has it.
Shape shapeOf(const ShownDataset& dataset) {
  if (dataset.stored) return dataset.stored->shape;
  return {dataset.record.numTrials, dataset.record.numChannels, dataset.record.samplesPerTrial};
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

/// When the trials of a selection, or those of the file, begin and end, and at which sample the trigger is.
std::string timesText(const ShownDataset& dataset) {
  const auto& stored = dataset.stored;
  const double first = dataset.timing.firstTime, rate = dataset.record.sampleRate;
  const std::int64_t samples = shapeOf(dataset).samples;
  if (!timed(dataset.record) || samples < 1) return {};
  const auto isPieces = [](const std::vector<std::int64_t>& trials) {
    return trials.size() > 1 && trials[0] == trials[1];
  };
  const bool isRun = stored && stored->isRun, isEpochs = stored && stored->isEpochs;
  if (stored && !isRun && !isEpochs && isPieces(stored->fileTrials)) return {};
  std::string text = seconds(first) + " to " + seconds(first + static_cast<double>(samples - 1) / rate);
  if (isRun) return text + " from the start of the run";
  text += isEpochs ? " from the marker" : " from the trigger";
  const double trigger = -first * rate;
  const auto sample = std::llround(trigger);
  const bool isAtSample = std::abs(trigger - static_cast<double>(sample)) < 1e-3;
  return text + (isAtSample && sample >= 0 && sample < samples
                     ? ", which is at sample " + std::to_string(sample)
                     : "");
}

/// "1 file, 3.4 MB, with 6 of 10 trials and 20 of 40 channels of the next".
std::string filesText(const ShownDataset& dataset) {
  if (!dataset.files || dataset.files->count == 0) return dataset.files ? "no sample file" : "";
  const SampleFiles& files = *dataset.files;
  std::string text = counted(static_cast<std::size_t>(files.count), "file") + ", " +
                     output::bytes(static_cast<std::int64_t>(files.bytes));
  if (files.trialsThere < files.trialsSaid || files.partialTrial)
    text +=
        ", with " + std::to_string(files.trialsThere) + " of " + std::to_string(files.trialsSaid) + " trials";
  if (const auto& partial = files.partialTrial)
    text += " and " + std::to_string(partial->channels) + " of " +
            std::to_string(dataset.record.numChannels) + " channels of the next";
  if (files.extraBytes > 0) text += ", " + std::to_string(files.extraBytes) + " bytes too many";
  return text;
}

/// "continuous", or what is missing between the trials.
std::string runText(const ShownDataset& dataset) {
  const describe::Timing& timing = dataset.timing;
  if (!timing.trialsAdjoin || dataset.record.numTrials < 2) return {};
  if (*timing.trialsAdjoin) return "continuous";
  return names(timing.gaps, [](const Gap& gap) {
    char text[96];
    const double size = std::abs(gap.seconds);
    std::snprintf(text, sizeof text, size < 0.95 ? "%.3g s %s after trial %d" : "%.1f s %s after trial %d",
                  size, gap.samples > 0 ? "missing" : "twice, by the clock,", gap.afterTrial);
    return std::string(text);
  });
}

std::string channelsText(const std::vector<Channel>& channels) {
  return std::to_string(channels.size()) + ": " +
         tally(channels, [](const Channel& channel) { return nameOf(channel.kind); });
}

/// "order 3 stored, orders 0, 1, 2, 3 can be had; 20 G1BR, 20 G2BR, 20 G3BR".
std::string compensationText(const ShownDataset& dataset) {
  const auto& [stored, available] = dataset.compensation;
  const auto number = [](int order) { return std::to_string(order); };
  std::string text;
  if (stored && (*stored != 0 || !dataset.coefficients.empty()))
    text = "order " + number(*stored) + " stored";
  if (available.size() > 1) text += ", orders " + names(available, number) + " can be had";
  const auto typeOf = [](const CoefficientRecord& record) {
    const std::string name = coefficientTypeName(record.type);
    return name.empty() ? std::to_string(record.type) : name;
  };
  const std::string records = counted(dataset.coefficients.size(), "coefficient record");
  return joined(text, "; ", records.empty() ? "" : records + ": " + tally(dataset.coefficients, typeOf));
}

std::string filtersText(const RecordInfo& record) {
  std::string text;
  for (const Filter& filter : record.filters)
    text = joined(text, ", ",
                  shortest(filter.frequency) + " Hz (class " + std::to_string(filter.filterClass) +
                      ", type " + std::to_string(filter.filterType) + ")");
  return text;
}

std::string valueOf(const Information& information, const char* tag) {
  const InformationEntry* entry = information.find(tag);
  const auto* text = entry == nullptr ? nullptr : std::get_if<std::string>(&entry->value);
  return text == nullptr ? "" : *text;
}

/// "20130429093618" as "2013-04-29"; empty for text that is no date.
std::string dateText(const std::string& dateTime) {
  constexpr std::size_t kDigits = 8;
  if (dateTime.size() < kDigits || dateTime.find_first_not_of("0123456789") < kDigits) return {};
  return dateTime.substr(0, 4) + "-" + dateTime.substr(4, 2) + "-" + dateTime.substr(6, 2);
}

std::string patientText(const Information& information) {
  std::string text =
      joined(valueOf(information, "_PATIENT_NAME_FIRST"), " ", valueOf(information, "_PATIENT_NAME_LAST"));
  const std::string id = valueOf(information, "_PATIENT_ID");
  if (id != text) text = joined(text, ", ", id.empty() ? "" : "ID " + id);
  const std::string born = dateText(valueOf(information, "_PATIENT_BIRTHDATE"));
  return joined(text, ", ", born.empty() ? "" : "born " + born);
}

std::string headText(const Fiducials& fiducials) {
  std::string sets;
  for (const auto& [name, set] : kFiducialSetNames)
    if (fiducials.*set) sets = joined(sets, ", ", name);
  const auto& measured = fiducials.dewarMeasured;
  if (!measured || !measured->leftEarMm || !measured->rightEarMm) return sets.empty() ? "" : "coils: " + sets;
  std::string centre;
  for (std::size_t axis = 0; axis < 3; ++axis)
    centre = joined(centre, ", ",
                    output::millimetres(((*measured->leftEarMm)[axis] + (*measured->rightEarMm)[axis]) / 2));
  return "midway between the ears at " + centre + " mm in the dewar (coils: " + sets + ")";
}

std::string markersText(const std::vector<Marker>& markers) {
  return names(markers, [](const Marker& marker) {
    return marker.name + " (" + std::to_string(marker.samples.size()) + ")";
  });
}

std::string classesText(const std::vector<TrialClass>& classes) {
  return names(classes, [](const TrialClass& trialClass) {
    const auto count = static_cast<std::size_t>(trialClass.numTrials);
    return trialClass.name + " (" + (count == 0 ? "no trials" : counted(count, "trial")) + ")";
  });
}

/// None without a value. In a terminal long ones go on below their beginning.
void line(const char* label, const std::string& value) {
  constexpr std::size_t kLabelWidth = 14, kFewestColumns = 40;
  if (value.empty()) return;
  std::string text = "  " + std::string(label);
  text.resize(std::max(2 + kLabelWidth, text.size()), ' ');
  const std::size_t indent = text.size();
  text += output::visible(value);
  if (const int most = outputColumns(); most > 0)
    text = output::wrapped(text, std::max(static_cast<std::size_t>(most), kFewestColumns), indent);
  std::cout << text << '\n';
}

void printOverview(const ShownDataset& dataset) {
  const RecordInfo& record = dataset.record;
  const auto itself = [](const std::string& text) { return text; };
  std::cout << output::visible(dataset.name) << '\n';
  line("Path", dataset.path);
  line("Recorded", joined(record.dataDate, " ", record.dataTime));
  line("Subject", record.subjectId);
  line("Operator", record.operatorName);
  line("Run", joined(record.runName, " ", record.runTitle));
  line("Data", record.dataDescription);
  line("Description", record.runDescription);
  line("Patient", patientText(dataset.information));
  line("Software", valueOf(dataset.information, "_DATASET_COLLECTIONSOFTWARE"));
  const Shape shape = shapeOf(dataset);
  line("Trials", trialsText(shape, record));
  line("Continuity", runText(dataset));
  line("Times", timesText(dataset));
  line("Channels", channelsText(dataset.channels));
  line("Bad",
       joined(names(dataset.badChannels, itself), "; ", counted(dataset.badSegments.size(), "segment")));
  line("Markers", markersText(dataset.markers));
  line("Classes", classesText(dataset.classes));
  line("Head", headText(dataset.fiducials));
  line("EEG", joined(counted(dataset.electrodes.size(), "electrode"), ", ",
                     counted(dataset.digitised.points.size(), "digitised point")));
  line("Virtual", names(dataset.virtualChannels, [](const VirtualChannel& c) { return c.name; }));
  line("Compensation", compensationText(dataset));
  line("Filters", filtersText(record));
  if (dataset.stored)
    line("Array", (dataset.stored->isRun ? "" : std::to_string(shape.trials) + " x ") +
                      std::to_string(shape.channels) + " x " + std::to_string(shape.samples));
  const std::int64_t samples = shape.trials * shape.channels * shape.samples;
  if (samples > 0) line("Samples", output::bytes(samples * std::int64_t{sizeof(std::int32_t)}));
  line("Files", filesText(dataset));
  line("Warnings", tally(dataset.warningCodes, itself));
}

}  // namespace

int runInfo(const InfoOptions& options) {
  Session session(options.reading);
  describe::InfoJson json(std::cout, options.datasets.size());
  bool first = true;
  for (const std::string& path : options.datasets) {
    stopIfInterrupted();
    session.attempt(
        path,
        [&] {
          const Recording recording = session.open(path);
          session.sayWarnings(path, recording.warnings());
          const SelectedSamples selected = options.samples.asked.empty()
                                               ? session.lookAt(recording)
                                               : session.select(path, recording, options.samples);
          session.sayWarnings(path, recording, selected, options.samples.selection);
          const ShownDataset dataset =
              shown(describe::described(path, recording, selected, describe::kMostTrials), options.reading);
          if (options.json) return json.add(dataset);
          if (!first) std::cout << '\n';
          first = false;
          printOverview(dataset);
        },
        [&](const ShownDataset& failed) {
          if (options.json) json.add(failed);
        });
  }
  if (options.json) json.end();
  finishOutput();
  return session.exitCode();
}

}  // namespace ctfmeg::cli
