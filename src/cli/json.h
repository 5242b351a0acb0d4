#pragma once

#include <cstddef>
#include <cstdint>
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

/// Writes the entries of `scan --json`: an array with an object on each line.
class ScanJson {
 public:
  explicit ScanJson(std::ostream& out) : m_out(out) {}
  void add(const ShownDataset& dataset, double durationSeconds, std::int64_t bytes);
  void end();

 private:
  std::ostream& m_out;
  bool m_empty = true;
};

/// What `check --json` prints: one object.
void writeCheck(std::ostream& out, const ShownDataset& dataset, const char* verdict);

}  // namespace ctfmeg::cli
