#include <limits>

#include "cli/dataset_table.h"

// The commands that print what headers and small files hold as tables.

namespace ctfmeg::cli {
namespace {

using describe::gradientOrderOf;
using output::Cell;
using output::TableWriter;

void addChannel(const Channel& c, TableWriter& table) {
  std::vector<Cell> row{c.index, c.name,    c.shortName,        nameOf(c.kind),      c.sensorType,
                        c.unit,  c.gain,    gradientOrderOf(c), c.dewarCoils.size(), c.good ? "yes" : "bad",
                        c.good,  c.polarity};
  const std::vector<Coil>& coils = c.headCoils;
  for (const auto part : {&Coil::positionCm, &Coil::orientation})
    for (std::size_t axis = 0; axis < 3; ++axis)
      row.emplace_back(coils.empty() ? std::nullopt : std::optional((coils.front().*part)[axis]));
  table.add(std::move(row));
}

/// Nothing for a time beyond all samples that there can be.
std::optional<std::int64_t> sampleOf(const MarkerSample& sample) {
  constexpr auto kBeyond = std::numeric_limits<std::int64_t>::min();
  return sample.sample == kBeyond ? std::nullopt : std::optional(sample.sample);
}

void addMarkers(const ShownDataset& dataset, TableWriter& table) {
  for (const Marker& marker : dataset.markers) {
    if (marker.samples.empty()) table.addForPeople({marker.name, {}, {}, {}, {}});
    for (const MarkerSample& sample : marker.samples)
      table.add({marker.name, sample.trial, sample.timeMs, sampleOf(sample), runTime(dataset, sample)});
  }
}

void addHeadCoils(const Fiducials& fiducials, TableWriter& table) {
  for (const auto& [setName, set] : kFiducialSetNames) {
    if (!(fiducials.*set)) continue;
    for (const auto& [pointName, point] : kFiducialNames)
      if (const auto& position = (*(fiducials.*set)).*point)
        table.add({setName, pointName, (*position)[0], (*position)[1], (*position)[2]});
  }
}

}  // namespace

int runChannels(const TableOptions& options) {
  return runTable(options,
                  {{{"index", "index"},
                    {"name", "name"},
                    {"shortName", nullptr},
                    {"kind", "kind"},
                    {"sensorType", nullptr},
                    {"unit", "unit"},
                    {"gain", "gain", output::brief},
                    {"gradientOrder", "order"},
                    {nullptr, "coils"},
                    {nullptr, "good"},
                    {"good", nullptr},
                    {"polarity", nullptr},
                    {"x", nullptr},
                    {"y", nullptr},
                    {"z", nullptr},
                    {"ox", nullptr},
                    {"oy", nullptr},
                    {"oz", nullptr}},
                   "no channels",
                   [&](Session&, const std::string&, const Recording& recording, TableWriter& table) {
                     for (const int chosen : recording.chosenChannels(options.shown.selection))
                       addChannel(recording.channels()[static_cast<std::size_t>(chosen)], table);
                   }});
}

int runMarkers(const TableOptions& options) {
  return runTable(
      options,
      {{{"marker", "marker"},
        {"trial", "trial"},
        {"timeMs", "time (ms)"},
        {"sample", "sample"},
        {"runTime", "in the run (s)"}},
       "no markers",
       [&](Session&, const std::string& path, const Recording& recording, TableWriter& table) {
         constexpr int kAll = std::numeric_limits<int>::max();
         addMarkers(describe::described(path, recording, {recording.record(), nullptr}, kAll), table);
       }});
}

int runHeadCoils(const TableOptions& options) {
  return runTable(options, {{{"set", "set"},
                             {"point", "point"},
                             {"x", "x (mm)", output::millimetres},
                             {"y", "y (mm)", output::millimetres},
                             {"z", "z (mm)", output::millimetres}},
                            "no head coils",
                            [](Session&, const std::string&, const Recording& recording, TableWriter& table) {
                              addHeadCoils(recording.fiducials(), table);
                            }});
}

}  // namespace ctfmeg::cli
