#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "describe/shown.h"

namespace ctfmeg::describe {

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

/// What `info --json` prints of one recording, all of it, without a line break after it. Looks at the lengths
/// of the sample files and at two samples of each trial's clock.
std::string infoJson(const std::string& path, const Recording& recording);

/// A finding as in `warnings` of a recording.
std::string findingJson(const Finding& finding);
std::string findingsJson(const std::vector<Finding>& findings);

}  // namespace ctfmeg::describe
