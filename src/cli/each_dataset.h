#pragma once

#include <iostream>

#include "cli/identity.h"
#include "cli/process.h"
#include "cli/say.h"
#include "cli/session.h"
#include "cli/visible_text.h"

namespace ctfmeg::cli {

/// Runs `table(recording, dataset)`, which prints a table, for each dataset in turn, each under its path when
/// there are several and the table is for people. Gives the exit code.
template <class Options, class Table>
int forEachDataset(const Options& options, Table table) {
  Session session(options.reading);
  for (const std::string& dataset : options.datasets) {
    stopIfInterrupted();
    session.attempt(dataset, [&] {
      const Recording recording = session.read(dataset, std::nullopt);
      if (!options.csv && options.datasets.size() > 1)
        std::cout << visible(shownPath(dataset, options.reading.noIdentity)) << ":\n";
      table(recording, dataset);
    });
  }
  finishOutput();
  return session.exitCode();
}

}  // namespace ctfmeg::cli
