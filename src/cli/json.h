#pragma once

#include <cstddef>
#include <ostream>

#include "cli/shown.h"

namespace ctfmeg::cli {

/// Writes the entries of `info --json` as they are added: one object for one entry, else an array; UTF-8, a
/// member or an element of a list on each line.
class InfoJson {
 public:
  InfoJson(std::ostream& out, std::size_t entries) : m_out(out), m_entries(entries) {}

  void add(const ShownDataset& dataset);
  void end();

 private:
  std::ostream& m_out;
  std::size_t m_entries;
  std::size_t m_written = 0;
};

/// What `check --json` prints of one dataset: an object, without a line break after it.
void writeCheck(std::ostream& out, const ShownDataset& dataset, const char* verdict);

}  // namespace ctfmeg::cli
