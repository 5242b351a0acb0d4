#include <filesystem>
#include <iostream>

#include "cli/messages.h"
#include "cli/process.h"
#include "cli/selection.h"
#include "cli/terminal.h"
#include "cli/usage.h"
#include "output/visible_text.h"
#include "simulate/damage.h"
#include "simulate/dataset.h"
#include "simulate/faults.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {

namespace {

/// "2:1.5,5:10".
std::vector<simulate::Pause> parsePauses(const std::string& text) {
  std::vector<simulate::Pause> pauses;
  const auto items = parseNames(text);
  for (const std::string& item : items.value()) {
    const std::size_t colon = item.find(':');
    const auto trials = parseTrials(item.substr(0, colon));
    const auto seconds = colon == std::string::npos ? std::nullopt : parseSeconds(item.substr(colon + 1));
    if (!trials || trials->size() != 1 || !seconds)
      throw std::invalid_argument("--gap must be TRIAL:SECONDS, such as 2:1.5, not \"" + item + "\"");
    pauses.push_back({trials->front(), *seconds});
  }
  return pauses;
}

double parseNoise(const std::string& text) {
  constexpr double kUsualPicotesla = 200;
  const auto picotesla = text == "true" ? std::optional(kUsualPicotesla) : parseSeconds(text);
  if (!picotesla || *picotesla <= 0)
    throw std::invalid_argument(
        "--common-noise takes a number of picotesla, as in --common-noise=50, not \"" + text + "\"");
  return *picotesla;
}

simulate::Options optionsOf(const SimulateOptions& options) {
  simulate::Options dataset = options.dataset;
  if (options.gaps) dataset.pauses = parsePauses(*options.gaps);
  if (options.bad) dataset.bad = simulate::parseFaults(*options.bad);
  if (options.commonNoise) dataset.commonNoise = parseNoise(*options.commonNoise);
  if (options.damage) dataset.damage = parseNames(*options.damage).value();
  return dataset;
}

void printFaults(const simulate::Options& options) {
  if (options.bad.empty()) return;
  for (const simulate::PlantedFault& planted : simulate::plantedFaults(options))
    std::cout << simulate::nameOf(planted.fault) << ": " << planted.channel << '\n';
  finishOutput();
}

}  // namespace

std::string damageList() {
  std::string lines;
  for (const simulate::Damage& damage : simulate::damages()) {
    constexpr std::size_t kColumn = 18;
    lines += "  " + std::string(damage.name);
    lines.append(kColumn - damage.name.size(), ' ').append(damage.what).append("\n");
  }
  return lines;
}

int runSimulate(const SimulateOptions& options) {
  const auto bar = options.quiet ? nullptr : openProgressBar("Writing " + output::visible(options.directory));
  requireFolderOf(options.directory);
  try {
    const simulate::Options dataset = optionsOf(options);
    simulate::writeDataset(pathFromText(options.directory), dataset, [&](int done, int trials) {
      if (bar) bar->show(done, trials);
      return !interrupted();
    });
    printFaults(dataset);
  } catch (const simulate::Stopped&) {
    throw Interrupted{};
  } catch (const std::invalid_argument& wrong) {
    throw UsageError(wrong.what());
  } catch (const std::filesystem::filesystem_error& failed) {
    throw CommandError(options.directory, "can't be written: " + failed.code().message());
  }
  return kDone;
}

}  // namespace ctfmeg::cli
