#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/messages.h"
#include "output/table_writer.h"

namespace ctfmeg::cli {

/// A table about datasets: its columns, what people read where it has no row, and the rows of one dataset.
struct DatasetTable {
  std::vector<output::Column> columns;
  const char* ifEmpty;
  std::function<void(Session& session, const std::string& path, const Recording& recording,
                     output::TableWriter& table)>
      addRows;
};

/// Writes one table about all datasets that the options name, in the form that they ask for. One that can't
/// be read is reported and has no rows. Returns the exit code.
int runTable(const TableOptions& options, const DatasetTable& described);

}  // namespace ctfmeg::cli
