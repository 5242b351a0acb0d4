#include <algorithm>
#include <array>
#include <iostream>

#include "cli/channel_selection.h"
#include "cli/commands.h"
#include "cli/csv.h"
#include "cli/identity.h"
#include "cli/number_text.h"
#include "cli/process.h"
#include "cli/say.h"
#include "cli/session.h"
#include "cli/visible_text.h"

namespace ctfmeg::cli {
namespace {

void printCsvHeader() {
  std::cout << csvLine(
      {"index", "name", "shortName", "kind", "sensorType", "unit", "gain", "gradientOrder", "good"});
}

void printCsv(const std::vector<Channel>& channels) {
  for (const Channel& c : channels)
    std::cout << csvLine({std::to_string(c.index), csvText(c.name), csvText(c.shortName), nameOf(c.kind),
                          std::to_string(c.sensorType), c.unit, shortest(c.gain),
                          std::to_string(c.gradientOrder), c.good ? "true" : "false"});
}

using Row = std::array<std::string, 6>;

void printTable(const std::vector<Channel>& channels) {
  std::vector<Row> rows{{"index", "name", "kind", "unit", "gain", "coils"}};
  for (const Channel& c : channels)
    rows.push_back({std::to_string(c.index), visible(c.name), nameOf(c.kind), c.unit, shortest(c.gain),
                    std::to_string(c.dewarCoils.size())});
  std::array<std::size_t, std::tuple_size_v<Row>> widths{};
  for (const Row& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], columns(row[i]));
  for (const Row& row : rows) {
    std::string text;
    for (std::size_t i = 0; i < row.size(); ++i) {
      text += row[i];
      if (i + 1 < row.size()) text += std::string(widths[i] - columns(row[i]) + 2, ' ');
    }
    std::cout << text << '\n';
  }
}

}  // namespace

int runChannels(const ChannelsOptions& options) {
  Session session(options.reading);
  if (options.csv) printCsvHeader();
  for (const std::string& dataset : options.datasets) {
    stopIfInterrupted();
    session.attempt([&] {
      const Recording recording = session.read(dataset, std::nullopt);
      const auto channels = selectChannels(recording, dataset, options.channels);
      if (options.csv) return printCsv(channels);
      if (options.datasets.size() > 1)
        std::cout << visible(shownPath(dataset, options.reading.noIdentity)) << ":\n";
      printTable(channels);
    });
  }
  finishOutput();
  return session.exitCode();
}

}  // namespace ctfmeg::cli
