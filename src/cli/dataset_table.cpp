#include "cli/dataset_table.h"

#include <iostream>

#include "cli/process.h"

namespace ctfmeg::cli {

int runTable(const TableOptions& options, const DatasetTable& described) {
  Session session(options.reading);
  output::TableWriter table(std::cout, options.form, described.columns, options.datasets.size() > 1);
  for (const std::string& path : options.datasets) {
    stopIfInterrupted();
    session.attempt(path, [&] {
      const Recording recording = session.open(path);
      session.sayWarnings(path, recording.warnings());
      table.beginDataset(shown(path, options.reading));
      described.addRows(session, path, recording, table);
    });
  }
  table.end(session.exitCode() == kDone ? described.ifEmpty : nullptr);
  finishOutput();
  return session.exitCode();
}

}  // namespace ctfmeg::cli
