#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ctfmeg::edit {

/// The change of a dataset's name. In the names of files and in texts it finds the old name, and puts the new
/// one in its place.
class DatasetName {
 public:
  /// Names without ".ds"; the old dataset may have several, when somebody renamed its folder.
  DatasetName(std::vector<std::string> before, std::string now);

  const std::vector<std::string>& before() const { return m_before; }
  const std::string& now() const { return m_now; }

  /// The name of a file in the copy: "old.meg4" becomes "new.meg4", in each part of a path.
  std::string ofFile(const std::string& name) const;

  // Of bytes of a text, in Windows-1252 or UTF-8. A name is one that is a whole part of a path, with an
  // extension or without.

  /// A value that is a name or a path as a whole.
  std::string inValue(std::string_view value) const;
  /// The path of the dataset itself, whose last part is its name, whatever that is.
  std::string inOwnPath(std::string_view value) const;
  /// A text that may hold paths and names of files: the old name changes where it is part of a path or has an
  /// extension, and stays where it is a word by itself.
  std::string inText(std::string_view text) const;

  /// Whether the old name is anywhere in some bytes as a whole word.
  bool isIn(std::string_view bytes) const;

 private:
  std::string replaced(std::string_view text, bool wordsToo) const;

  std::vector<std::string> m_before;
  std::string m_now;
  std::vector<std::pair<std::string, std::string>> m_forms;  // bytes of the old name, and of the new one
};

/// The name that a dataset gets which is written to `out`. Throws `Error` where `out` does not end in ".ds",
/// or has a name that files of a dataset can't hold.
std::string nameFor(const std::filesystem::path& out);

}  // namespace ctfmeg::edit
