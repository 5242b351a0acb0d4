#pragma once

#include <cstddef>
#include <ostream>
#include <string>

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

}  // namespace ctfmeg::cli
