#pragma once

#include <string>
#include <utility>
#include <vector>

#include <ctfmeg/edit.h>

namespace ctfmeg::edit {

/// The bytes of a small file after a change, and what became of its fields and lines. `Change::file` is
/// filled in by whoever knows the file's name.
struct Edited {
  std::string bytes;
  std::vector<Change> changes{};

  /// Counts `count` fields or lines of that name, none where that is 0.
  void note(Change::What what, const std::string& field, std::int64_t count = 1);
};

/// Appends changes of the file of that name.
void append(std::vector<Change>& all, const std::string& file, std::vector<Change> changes);

}  // namespace ctfmeg::edit
