#pragma once

#include <filesystem>

/// While it lives, `path` is a file that opens, but that can't be read at its start.
class UnreadableFile {
 public:
  explicit UnreadableFile(std::filesystem::path path);
  UnreadableFile(const UnreadableFile&) = delete;
  UnreadableFile& operator=(const UnreadableFile&) = delete;
  ~UnreadableFile();

  /// False where this system lets it be read all the same.
  bool works() const;

 private:
  std::filesystem::path m_path;
  void* m_lock = nullptr;
};
