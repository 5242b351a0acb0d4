#include <filesystem>

#include "cli/messages.h"
#include "cli/process.h"
#include "cli/terminal.h"
#include "output/visible_text.h"
#include "simulate/dataset.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {

int runSimulate(const SimulateOptions& options) {
  const auto bar = options.quiet ? nullptr : openProgressBar("Writing " + output::visible(options.directory));
  requireFolderOf(options.directory);
  try {
    simulate::writeDataset(pathFromText(options.directory), options.dataset, [&](int done, int trials) {
      if (bar) bar->show(done, trials);
      return !interrupted();
    });
  } catch (const simulate::Stopped&) {
    throw Interrupted{};
  } catch (const std::invalid_argument& wrong) {
    say("", wrong.what());
    return kWrongUsage;
  } catch (const std::filesystem::filesystem_error& failed) {
    throw CommandError(options.directory, "can't be written: " + failed.code().message());
  }
  return kDone;
}

}  // namespace ctfmeg::cli
