#include "cli/channel_selection.h"
#include "cli/commands.h"
#include "cli/csv.h"
#include "cli/each_dataset.h"
#include "cli/number_text.h"
#include "cli/table.h"

namespace ctfmeg::cli {
namespace {

void printCsv(const std::vector<Channel>& channels) {
  for (const Channel& c : channels)
    std::cout << csvLine({std::to_string(c.index), csvText(c.name), csvText(c.shortName), nameOf(c.kind),
                          std::to_string(c.sensorType), c.unit, shortest(c.gain),
                          std::to_string(c.gradientOrder), c.good ? "true" : "false"});
}

void printChannels(const std::vector<Channel>& channels) {
  std::vector<std::vector<std::string>> rows{{"index", "name", "kind", "unit", "gain", "coils", "good"}};
  for (const Channel& c : channels)
    rows.push_back({std::to_string(c.index), visible(c.name), nameOf(c.kind), c.unit, shortest(c.gain),
                    std::to_string(c.dewarCoils.size()), c.good ? "yes" : "bad"});
  printTable(rows);
}

}  // namespace

int runChannels(const ChannelsOptions& options) {
  if (options.csv)
    std::cout << csvLine(
        {"index", "name", "shortName", "kind", "sensorType", "unit", "gain", "gradientOrder", "good"});
  return forEachDataset(options, [&](const Recording& recording, const std::string& dataset) {
    const auto channels = selectChannels(recording, dataset, options.channels);
    options.csv ? printCsv(channels) : printChannels(channels);
  });
}

}  // namespace ctfmeg::cli
