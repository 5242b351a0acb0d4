#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "cli/scan.h"
#include "host/recording.h"

namespace ctfmeg::cli {

/// Writes the entries of `info --json` as they are added: one object for one entry, else an array; UTF-8, a
/// member or an element of a list on each line.
class JsonOutput {
 public:
  JsonOutput(std::ostream& out, std::size_t entries, bool noIdentity)
      : m_out(out), m_entries(entries), m_noIdentity(noIdentity) {}

  void add(const std::string& path, Rules rules, const Recording& recording);
  void add(const std::string& path, const Error& error);
  void end();

 private:
  void beginEntry();

  std::ostream& m_out;
  std::size_t m_entries;
  std::size_t m_written = 0;
  bool m_noIdentity;
};

/// Writes the entries of `scan --json`: an array with an object on each line.
class JsonLines {
 public:
  explicit JsonLines(std::ostream& out) : m_out(out) {}
  void add(const ScannedDataset& scanned, bool noIdentity);
  void end();

 private:
  std::ostream& m_out;
  bool m_empty = true;
};

/// What `check --json` prints: one object, with the error (may be null) that ended the reading.
void writeCheck(std::ostream& out, const std::string& path, const char* verdict, const Error* error,
                const std::vector<Finding>& findings, bool noIdentity);

}  // namespace ctfmeg::cli
