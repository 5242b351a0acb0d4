#include "cli/commands.h"
#include "cli/csv.h"
#include "cli/each_dataset.h"
#include "cli/number_text.h"
#include "cli/table.h"

namespace ctfmeg::cli {
namespace {

/// Calls `row(set, point, position)` for every point that was read.
template <class Row>
void forEachPoint(const Fiducials& fiducials, Row row) {
  for (const auto& [setName, set] : kFiducialSetNames) {
    if (!(fiducials.*set)) continue;
    for (const auto& [pointName, point] : kFiducialNames)
      if (const auto& position = (*(fiducials.*set)).*point) row(setName, pointName, *position);
  }
}

void printCsv(const Fiducials& fiducials) {
  forEachPoint(fiducials, [](const char* set, const char* point, const auto& p) {
    std::cout << csvLine({set, point, shortest(p[0]), shortest(p[1]), shortest(p[2])});
  });
}

void printPoints(const Fiducials& fiducials) {
  std::vector<std::vector<std::string>> rows{{"set", "point", "x (mm)", "y (mm)", "z (mm)"}};
  forEachPoint(fiducials, [&rows](const char* set, const char* point, const auto& p) {
    rows.push_back({set, point, millimetres(p[0]), millimetres(p[1]), millimetres(p[2])});
  });
  if (rows.size() == 1)
    std::cout << "no head coils\n";
  else
    printTable(rows);
}

}  // namespace

int runHeadCoils(const TableOptions& options) {
  if (options.csv) std::cout << csvLine({"set", "point", "x", "y", "z"});
  return forEachDataset(options, [&](const Recording& recording, const std::string& /*dataset*/) {
    options.csv ? printCsv(recording.fiducials()) : printPoints(recording.fiducials());
  });
}

}  // namespace ctfmeg::cli
