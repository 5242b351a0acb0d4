#include <algorithm>
#include <iostream>

#include "cli/commands.h"
#include "cli/identity.h"
#include "cli/json_output.h"
#include "cli/number_text.h"
#include "cli/overview.h"
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

void printOverview(const std::string& path, const Recording& recording, bool noIdentity) {
  const RecordInfo& record = recording.record();
  std::cout << visible(recording.name()) << '\n';
  line("Path", shownPath(path, noIdentity));
  if (!noIdentity) {
    line("Recorded", joined(record.dataDate, " ", record.dataTime));
    line("Subject", record.subjectId);
    line("Operator", record.operatorName);
    line("Run", joined(record.runName, " ", record.runTitle));
    line("Data", record.dataDescription);
    line("Description", record.runDescription);
    line("Patient", patientText(recording.information()));
    line("Software", softwareText(recording.information()));
  }
  const Shape shape = shapeOf(recording);
  line("Trials", trialsText(shape, record));
  line("Trigger", triggerText(recording));
  line("Channels", channelsText(recording));
  line("Bad", badText(shownBadChannels(recording, noIdentity), recording.badSegments()));
  line("Markers", markersText(recording.markers()));
  line("Classes", classesText(recording.classes()));
  line("Head", headText(recording.fiducials()));
  line("EEG", electrodesText(recording));
  line("Virtual", virtualChannelsText(recording.virtualChannels()));
  line("Compensation", coefficientsText(recording));
  line("Filters", filtersText(record));
  const std::int64_t samples = shape.trials * record.numChannels * shape.samples;
  if (samples > 0) line("Samples", bytes(samples * std::int64_t{sizeof(std::int32_t)}));
  line("Warnings", warningsText(recording.warnings()));
}

}  // namespace

int runInfo(const InfoOptions& options) {
  Session session(options.reading);
  JsonOutput json(std::cout, options.datasets.size(), options.reading.noIdentity);
  bool first = true;
  for (const std::string& dataset : options.datasets) {
    stopIfInterrupted();
    session.attempt(
        dataset,
        [&] {
          const Recording recording = session.read(dataset, options.route);
          if (options.json) return json.add(dataset, options.reading.rules, recording);
          if (!first) std::cout << '\n';
          first = false;
          printOverview(dataset, recording, options.reading.noIdentity);
        },
        [&](const Error& error) {
          if (options.json) json.add(dataset, error);
        });
  }
  if (options.json) json.end();
  finishOutput();
  return session.exitCode();
}

}  // namespace ctfmeg::cli
