#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "edit/source.h"

#include <ctfmeg/recording.h>

namespace ctfmeg::edit {

/// The first bytes of a file, or all of them, as they are.
struct PartOfFile {
  std::filesystem::path path;
  std::uint64_t bytes = 0;
};

/// Writes a file's bytes one after another with what it is given.
using WriteBytes = std::function<void(const std::function<void(std::span<const std::byte>)>& write)>;

/// A file that is computed while it is written.
struct MadeFile {
  std::uint64_t bytes = 0;
  WriteBytes make;
};

/// A file of a copy: its name, "/" between folders, and what is in it.
struct PlannedFile {
  std::string name;
  std::variant<std::string, PartOfFile, MadeFile> content;
};

struct CopyPlan {
  std::vector<PlannedFile> files;
  std::vector<std::string> folders;  ///< each after the one that it is in
  bool dated1970 = false;            ///< files and folders get 1970-01-01 as their times
};

/// A new `.ds` directory that is built beside its place, and removed unless `commit` is called.
class StagedCopy {
 public:
  /// Writes the files, and reads those back that are not made to compare them with what they were to be.
  /// Throws `Error` where `out` is there already, when something can't be read or written, and when
  /// `progress` stops it.
  StagedCopy(const CopyPlan& plan, const std::filesystem::path& out, const ProgressFunction& progress);
  StagedCopy(const StagedCopy&) = delete;
  StagedCopy& operator=(const StagedCopy&) = delete;
  ~StagedCopy();

  /// Where the files are now.
  const std::filesystem::path& directory() const { return m_staging; }

  /// Has `check` look at the copy, makes sure that the source is still as it was, and puts the copy in its
  /// place. Throws `Error`, also where something else is in that place by now.
  void commit(const Source& source, const std::function<void(const Recording& copy)>& check);

 private:
  void build(const CopyPlan& plan, const ProgressFunction& progress);
  void namingItsPlace(const std::function<void()>& work) const;
  void discard();

  std::filesystem::path m_out;
  std::filesystem::path m_staging;
  std::string m_name;
};

/// Throws `Error` where `out` can't be made: it is there already, the folder that it is to be in is not, or
/// it would be inside of the dataset in `directory`.
void requireNew(const std::filesystem::path& out, const std::filesystem::path& directory);

}  // namespace ctfmeg::edit
