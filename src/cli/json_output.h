#pragma once

#include <string>
#include <vector>

#include "host/recording.h"

namespace ctfmeg::cli {

/// The entries of `info --json`, in the order in which they are added.
class JsonOutput {
 public:
  explicit JsonOutput(bool noIdentity) : m_noIdentity(noIdentity) {}

  void add(const std::string& path, Rules rules, const Recording& recording);
  void add(const std::string& path, const Error& error);

  /// One object for one entry, else an array; UTF-8, indented, ended by a line feed.
  std::string text() const;

 private:
  bool m_noIdentity;
  std::vector<std::string> m_entries;
};

}  // namespace ctfmeg::cli
