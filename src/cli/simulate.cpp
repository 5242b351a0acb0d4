#include <filesystem>
#include <iostream>

#include "cli/commands.h"
#include "cli/process.h"
#include "cli/say.h"
#include "cli/visible_text.h"
#include "host/path_text.h"
#include "simulate/dataset.h"
#include "ui/terminal.h"

namespace ctfmeg::cli {

int runSimulate(const std::string& directory, const simulate::Options& options, bool quiet) {
  const auto bar = quiet ? nullptr : openTerminalBar("Writing " + visible(directory));
  if (bar) bar->setRange(0, options.trials);
  try {
    simulate::writeDataset(pathFromText(directory), options, [&](int done, int) {
      if (bar) bar->setPosition(done);
      return !interrupted();
    });
  } catch (const simulate::Stopped&) {
    throw Interrupted{};
  } catch (const std::invalid_argument& wrong) {
    say("", wrong.what());
    return kWrongUsage;
  } catch (const std::filesystem::filesystem_error& failed) {
    throw CommandError(directory, "can't be written: " + failed.code().message());
  }
  return kDone;
}

}  // namespace ctfmeg::cli
