#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <ctfmeg/recording.h>

namespace ctfmeg::edit {

/// A file below a dataset's directory.
struct SourceFile {
  std::string name;  ///< from that directory on, "/" between folders, such as "run.res4" or "hz.ds/hz.hc"
  std::filesystem::path path;
  std::uint64_t bytes = 0;
  std::filesystem::file_time_type changed;
};

/// A dataset that is copied.
struct Source {
  std::filesystem::path directory;
  Recording recording;
  std::vector<SourceFile> files;     ///< all of them, those in folders too, by name
  std::vector<std::string> folders;  ///< named as files are
  std::vector<Finding> warnings;     ///< about what can't be copied: pipes, links that lead nowhere

  /// The dataset's name: the resource file's name without its extension.
  const std::string& name() const { return recording.name(); }
  const std::filesystem::path& file() const { return recording.resourceFile(); }
};

/// Opens the dataset that `in` belongs to and lists its files. A link to a file counts as the file. Throws
/// `Error`, also where a file is there that can't be read.
Source openSource(const std::filesystem::path& in);

/// Throws `Error` where a recording was read without a file that is there: it says less than its dataset.
void requireReadable(const std::vector<Finding>& warnings);

/// Throws `Error` where a file is not as it was when it was listed.
void requireUnchanged(const Source& source);

/// The bytes of a file that is small: all but samples. Throws `Error`, also for one that is too large to be
/// held in memory.
std::string bytesOf(const std::filesystem::path& file);

}  // namespace ctfmeg::edit
