#include "cli/commands.h"
#include "cli/csv.h"
#include "cli/each_dataset.h"
#include "cli/number_text.h"
#include "cli/table.h"

namespace ctfmeg::cli {
namespace {

void printCsv(const std::vector<Marker>& markers) {
  for (const Marker& marker : markers) {
    const std::string name = csvText(marker.name);
    for (const MarkerSample& sample : marker.samples)
      std::cout << csvLine(
          {name, std::to_string(sample.trial), shortest(sample.timeMs), std::to_string(sample.sample)});
  }
}

void printMarkers(const std::vector<Marker>& markers) {
  if (markers.empty()) {
    std::cout << "no markers\n";
    return;
  }
  std::vector<std::vector<std::string>> rows{{"marker", "trial", "time (ms)", "sample"}};
  constexpr std::size_t kMostColumns = 60;
  for (const Marker& marker : markers) {
    const std::string name = clipped(visible(marker.name), kMostColumns);
    if (marker.samples.empty()) rows.push_back({name, "-", "-", "-"});
    for (const MarkerSample& sample : marker.samples)
      rows.push_back(
          {name, std::to_string(sample.trial), rounded(sample.timeMs), std::to_string(sample.sample)});
  }
  printTable(rows);
}

}  // namespace

int runMarkers(const TableOptions& options) {
  if (options.csv) std::cout << csvLine({"marker", "trial", "timeMs", "sample"});
  return forEachDataset(options, [&](const Recording& recording, const std::string& /*dataset*/) {
    options.csv ? printCsv(recording.markers()) : printMarkers(recording.markers());
  });
}

}  // namespace ctfmeg::cli
