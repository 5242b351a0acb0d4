#pragma once

#include <filesystem>
#include <fstream>
#include <span>

namespace ctfmeg::simulate {

// A new file of which every write and the closing are checked, so that a full disk is noticed. All
// operations throw std::filesystem::filesystem_error with the path and the system's reason.
class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& path);

  void write(std::span<const char> bytes);

  // What the stream still buffers is written only now; a file that is not closed counts as failed.
  void close();

 private:
  void check(const char* action) const;

  std::filesystem::path path_;
  std::ofstream stream_;
};

}  // namespace ctfmeg::simulate
