#include <windows.h>

#include <algorithm>
#include <system_error>

#include "base/file.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace {

using Cause = FileError::Cause;

Cause causeOf(DWORD reason) {
  switch (reason) {
    case ERROR_FILE_NOT_FOUND:
      return Cause::notFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_PATHNAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
    case ERROR_FILENAME_EXCED_RANGE:
      return Cause::badPath;
    case ERROR_TOO_MANY_OPEN_FILES:
      return Cause::tooManyOpenFiles;
    case ERROR_ACCESS_DENIED:
      return Cause::accessDenied;
    case ERROR_SHARING_VIOLATION:
      return Cause::sharingViolation;
    case ERROR_LOCK_VIOLATION:
      return Cause::lockViolation;
    default:
      return Cause::generic;
  }
}

class LocalFile : public File {
 public:
  explicit LocalFile(const std::filesystem::path& file) : File(textOf(file)) {}
  ~LocalFile() override {
    if (m_handle != INVALID_HANDLE_VALUE) CloseHandle(m_handle);
  }

  void open(const std::filesystem::path& file, DWORD share) {
    m_handle = CreateFileW(reachable(file).c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (m_handle == INVALID_HANDLE_VALUE) {
      const DWORD reason = GetLastError();
      std::error_code unknown;
      if (reason == ERROR_ACCESS_DENIED && std::filesystem::is_directory(file, unknown))
        throw FileError::ofDirectory(static_cast<int>(reason), path());
      throw FileError(causeOf(reason), static_cast<int>(reason), path());
    }
    if (GetFileType(m_handle) != FILE_TYPE_DISK)  // a device or pipe may never answer
      throw FileError(Cause::generic, -1, path());
  }

  std::uint64_t size() const override {
    LARGE_INTEGER length;
    if (!GetFileSizeEx(m_handle, &length))
      throw FileError(Cause::invalidFile, static_cast<int>(GetLastError()), path());
    return static_cast<std::uint64_t>(length.QuadPart);
  }

  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    constexpr std::size_t kMostAtOnce = 1U << 30;
    std::size_t total = 0;
    while (total < out.size()) {
      OVERLAPPED from{};
      from.Offset = static_cast<DWORD>(offset + total);
      from.OffsetHigh = static_cast<DWORD>((offset + total) >> 32);
      DWORD got = 0;
      const auto wanted = static_cast<DWORD>(std::min(out.size() - total, kMostAtOnce));
      if (!ReadFile(m_handle, out.data() + total, wanted, &got, &from)) {
        if (GetLastError() == ERROR_HANDLE_EOF) break;
        throw FileError(Cause::hardIO, static_cast<int>(GetLastError()), path());
      }
      if (got == 0) break;
      total += got;
    }
    return total;
  }

 private:
  HANDLE m_handle = INVALID_HANDLE_VALUE;
};

}  // namespace

OpenFile openLocalFile(const std::filesystem::path& path, Sharing sharing) {
  auto file = std::make_shared<LocalFile>(path);
  file->open(path, sharing == Sharing::all ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0);
  return file;
}

bool isThere(const std::filesystem::path& path) {
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(reachable(path).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return false;
  FindClose(search);
  return true;
}

}  // namespace ctfmeg
