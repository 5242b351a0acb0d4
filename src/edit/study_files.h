#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ctfmeg::edit {

/// Folders and small files that are put into a study one after another, and are taken back unless `keep` is
/// called: files are then as they were before, and folders that were made are gone where nobody else put
/// anything in them.
class StudyFiles {
 public:
  StudyFiles() = default;
  StudyFiles(const StudyFiles&) = delete;
  StudyFiles& operator=(const StudyFiles&) = delete;
  ~StudyFiles();

  /// Makes a folder and those that it is to be in, where they are missing. Throws `Error`.
  void makeFolder(const std::filesystem::path& folder);
  /// Writes a file, which appears whole or not at all. Throws `Error`.
  void put(const std::filesystem::path& file, const std::string& bytes);

  void keep() { m_kept = true; }

 private:
  struct Before {
    std::filesystem::path file;
    std::optional<std::string> bytes;  ///< nothing: it was not there
  };
  std::vector<std::filesystem::path> m_folders;  // outer ones first
  std::vector<Before> m_before;
  bool m_kept = false;
};

/// Lets one program at a time change the files that recordings of a study share, by the file `.ctfmeg.lock`
/// in the study's folder. It is there only as long as this is, and holds nobody up after a program that was
/// killed: the system lets go of it.
class StudyLock {
 public:
  /// Waits while another program has it, calling `wait` now and then, which may throw. Throws `Error` where
  /// that file can't be made or locked.
  StudyLock(const std::filesystem::path& study, const std::function<void()>& wait);
  StudyLock(const StudyLock&) = delete;
  StudyLock& operator=(const StudyLock&) = delete;
  ~StudyLock();

 private:
  /// Whether nobody else had it.
  bool take();

  std::filesystem::path m_file;
  std::intptr_t m_handle = -1;
  int m_denied = 0;  ///< times that the file could not be opened, for whatever reason
};

/// The bytes of a small file; nothing where it is not there. Throws `Error`.
std::optional<std::string> bytesIfThere(const std::filesystem::path& file);

}  // namespace ctfmeg::edit
