#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/file.h"
#include "base/notices.h"

namespace ctfmeg {

/// Keeps what is noticed: each finding once, and of a kind in one file no more than a person would read.
class CollectedFindings : public Notices {
 public:
  void report(const Finding& finding) override;
  const std::vector<Finding>& all() const { return m_findings; }
  std::vector<Finding> take() { return std::move(m_findings); }

  /// The error that a failed reading of `file` ends in: its first finding of that weight says what and where.
  Error errorAbout(const std::filesystem::path& file) const;

 private:
  std::vector<Finding> m_findings;
  std::set<std::string> m_known;
  std::map<std::string, int> m_ofAKind;
};

/// What files throw as what users of a recording know.
[[noreturn]] void throwAsError(const FileError& error);

/// Calls `operation`, and throws its FileError as an `Error`.
template <class Operation>
auto readingFiles(Operation operation) {
  try {
    return operation();
  } catch (const FileError& error) {
    throwAsError(error);
  }
}

}  // namespace ctfmeg
