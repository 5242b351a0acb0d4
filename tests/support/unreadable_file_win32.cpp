#include <windows.h>

#include <utility>

#include "support/temporary_directory.h"
#include "support/unreadable_file.h"

// A file that somebody else has locked.
UnreadableFile::UnreadableFile(std::filesystem::path path) : m_path(std::move(path)) {
  writeFile(m_path, std::string(100, 'x'));
  m_lock = CreateFileW(m_path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  OVERLAPPED start{};
  LockFileEx(m_lock, LOCKFILE_EXCLUSIVE_LOCK, 0, 100, 0, &start);
}

bool UnreadableFile::works() const {
  const HANDLE other = CreateFileW(m_path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  char first = 0;
  DWORD got = 0;
  const bool readable = ReadFile(other, &first, 1, &got, nullptr) != 0;
  CloseHandle(other);
  return !readable;
}

UnreadableFile::~UnreadableFile() {
  CloseHandle(m_lock);
  std::filesystem::remove(m_path);
}
