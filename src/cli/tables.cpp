#include <iostream>
#include <limits>

#include "cli/messages.h"
#include "cli/process.h"
#include "output/numbers.h"
#include "output/table.h"
#include "output/visible_text.h"

// The commands that print a table of each dataset.

namespace ctfmeg::cli {
namespace {

using output::csvLine;
using output::csvText;
using output::shortest;
using output::visible;

/// Runs `print(dataset)` for each dataset in turn, each under its path when there are several and the table
/// is for people. `describeTable` says what there is to print. Returns the exit code.
template <class Print, class Describe>
int forEachDataset(const TableOptions& options, Print print, Describe describeTable) {
  Session session(options.reading);
  for (const std::string& path : options.datasets) {
    stopIfInterrupted();
    session.attempt(path, [&] {
      const Recording recording = session.open(path);
      session.sayWarnings(path, recording.warnings());
      ShownDataset dataset = shown(describeTable(path, recording), options.reading);
      if (!options.csv && options.datasets.size() > 1) std::cout << visible(dataset.path) << ":\n";
      std::vector<Channel> chosen;
      for (const int channel : recording.chosenChannels(options.shown.selection))
        chosen.push_back(std::move(dataset.channels[static_cast<std::size_t>(channel)]));
      dataset.channels = std::move(chosen);
      print(dataset);
    });
  }
  finishOutput();
  return session.exitCode();
}

ShownDataset headerOnly(const std::string& path, const Recording& recording) {
  return describe(path, recording);
}

void printChannelsCsv(const std::vector<Channel>& channels) {
  for (const Channel& c : channels)
    std::cout << csvLine({std::to_string(c.index), csvText(c.name), csvText(c.shortName), nameOf(c.kind),
                          std::to_string(c.sensorType), c.unit, shortest(c.gain),
                          std::to_string(c.gradientOrder), c.good ? "true" : "false"});
}

void printChannels(const std::vector<Channel>& channels) {
  output::Rows rows{{"index", "name", "kind", "unit", "gain", "coils", "good"}};
  for (const Channel& c : channels)
    rows.push_back({std::to_string(c.index), visible(c.name), nameOf(c.kind), c.unit, shortest(c.gain),
                    std::to_string(c.dewarCoils.size()), c.good ? "yes" : "bad"});
  output::writeTable(std::cout, rows);
}

void printMarkersCsv(const ShownDataset& dataset) {
  for (const Marker& marker : dataset.markers) {
    const std::string name = csvText(marker.name);
    for (const MarkerSample& sample : marker.samples) {
      const auto time = runTime(dataset, sample);
      std::cout << csvLine({name, std::to_string(sample.trial), shortest(sample.timeMs),
                            std::to_string(sample.sample), time ? shortest(*time) : ""});
    }
  }
}

void printMarkers(const ShownDataset& dataset) {
  if (dataset.markers.empty()) {
    std::cout << "no markers\n";
    return;
  }
  constexpr std::size_t kMostColumns = 60;
  output::Rows rows{{"marker", "trial", "time (ms)", "sample", "in the run (s)"}};
  for (const Marker& marker : dataset.markers) {
    const std::string name = output::clipped(visible(marker.name), kMostColumns);
    if (marker.samples.empty()) rows.push_back({name, "-", "-", "-", "-"});
    for (const MarkerSample& sample : marker.samples) {
      const auto time = runTime(dataset, sample);
      rows.push_back({name, std::to_string(sample.trial), output::rounded(sample.timeMs),
                      std::to_string(sample.sample), time ? output::rounded(*time) : "-"});
    }
  }
  output::writeTable(std::cout, rows);
}

/// Calls `row(set, point, position)` for every point that was read.
template <class Row>
void forEachPoint(const Fiducials& fiducials, Row row) {
  for (const auto& [setName, set] : kFiducialSetNames) {
    if (!(fiducials.*set)) continue;
    for (const auto& [pointName, point] : kFiducialNames)
      if (const auto& position = (*(fiducials.*set)).*point) row(setName, pointName, *position);
  }
}

void printHeadCoilsCsv(const Fiducials& fiducials) {
  forEachPoint(fiducials, [](const char* set, const char* point, const auto& p) {
    std::cout << csvLine({set, point, shortest(p[0]), shortest(p[1]), shortest(p[2])});
  });
}

void printHeadCoils(const Fiducials& fiducials) {
  output::Rows rows{{"set", "point", "x (mm)", "y (mm)", "z (mm)"}};
  forEachPoint(fiducials, [&rows](const char* set, const char* point, const auto& p) {
    rows.push_back(
        {set, point, output::millimetres(p[0]), output::millimetres(p[1]), output::millimetres(p[2])});
  });
  if (rows.size() == 1)
    std::cout << "no head coils\n";
  else
    output::writeTable(std::cout, rows);
}

}  // namespace

int runChannels(const TableOptions& options) {
  if (options.csv)
    std::cout << csvLine(
        {"index", "name", "shortName", "kind", "sensorType", "unit", "gain", "gradientOrder", "good"});
  return forEachDataset(
      options,
      [&](const ShownDataset& dataset) {
        options.csv ? printChannelsCsv(dataset.channels) : printChannels(dataset.channels);
      },
      headerOnly);
}

int runMarkers(const TableOptions& options) {
  if (options.csv) std::cout << csvLine({"marker", "trial", "timeMs", "sample", "runTime"});
  const auto withTimes = [](const std::string& path, const Recording& recording) {
    return describe(path, recording, {recording.record(), nullptr}, std::numeric_limits<int>::max());
  };
  return forEachDataset(
      options,
      [&](const ShownDataset& dataset) { options.csv ? printMarkersCsv(dataset) : printMarkers(dataset); },
      withTimes);
}

int runHeadCoils(const TableOptions& options) {
  if (options.csv) std::cout << csvLine({"set", "point", "x", "y", "z"});
  return forEachDataset(
      options,
      [&](const ShownDataset& dataset) {
        options.csv ? printHeadCoilsCsv(dataset.fiducials) : printHeadCoils(dataset.fiducials);
      },
      headerOnly);
}

}  // namespace ctfmeg::cli
