#pragma once

#include <map>
#include <string>

#include <megreader/framework/user_interface.h>
#include <megreader/reader/reading_rules.h>
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

/// A dataset that has every file the reader knows, to be harmed.
class VictimDataset {
 public:
  VictimDataset();

  std::filesystem::path file(const std::string& name) const { return m_directory.path() / "run.ds" / name; }
  /// Of each file by its name, as it was first written.
  const std::map<std::string, std::string>& contents() const { return m_contents; }
  void restore(const std::string& name) const { writeFile(file(name), m_contents.at(name)); }

 private:
  TemporaryDirectory m_directory;
  std::map<std::string, std::string> m_contents;
};

/// A dataset of 2 trials that are large enough to be read by several threads at once.
MinimalDataset largeTrials();

/// How a load ends for a host.
enum class Outcome : std::uint8_t { failed, complete, fileError, memoryError };

/// What a host sees of a load.
struct Load {
  Outcome outcome = Outcome::failed;
  int told = 0;      ///< messages and findings
  std::string data;  ///< how much of everything the data object holds

  /// Whether it lost something that `whole` has, and nobody was told more than for `whole`.
  bool lostInSilence(const Load& whole) const {
    return data != whole.data && told <= whole.told && outcome != Outcome::fileError &&
           outcome != Outcome::memoryError;
  }
};

/// Reads header, side files and samples through the facade, as hosts do; 0 threads are as many as are useful.
Load load(const std::filesystem::path& file, const ReadingRules& rules, int threads = 0);
inline Load load(const VictimDataset& dataset, const ReadingRules& rules) {
  return load(dataset.file("run.res4"), rules);
}

/// The two ways to read, by name.
struct NamedRules {
  const char* name;
  ReadingRules rules;
};
const NamedRules kBothRules[] = {{"host", ReadingRules::host()}, {"plain", ReadingRules::plain()}};
