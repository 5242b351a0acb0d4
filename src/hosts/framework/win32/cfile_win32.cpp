#include <windows.h>

#include <algorithm>

#include <megreader/framework/cfile.h>
#include "hosts/framework/win32/long_path.h"

namespace {

int causeOf(DWORD osError) {
  switch (osError) {
    case ERROR_FILE_NOT_FOUND:
      return CFileException::fileNotFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_PATHNAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
    case ERROR_FILENAME_EXCED_RANGE:
      return CFileException::badPath;
    case ERROR_TOO_MANY_OPEN_FILES:
      return CFileException::tooManyOpenFiles;
    case ERROR_ACCESS_DENIED:
      return CFileException::accessDenied;
    case ERROR_SHARING_VIOLATION:
      return CFileException::sharingViolation;
    case ERROR_LOCK_VIOLATION:
      return CFileException::lockViolation;
    default:
      return CFileException::genericException;
  }
}

HANDLE handleOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

bool CFile::Open(const CString& path, unsigned flags, CFileException* error) {
  Close();
  const DWORD share = (flags & shareDenyNone) != 0 ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0;
  const HANDLE opened = CreateFileW(longPath(path).c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) {
    const DWORD reason = GetLastError();
    return refuse(error, path, causeOf(reason), static_cast<int>(reason));
  }
  if (GetFileType(opened) != FILE_TYPE_DISK) {  // a device or pipe may never answer
    CloseHandle(opened);
    return refuse(error, path, CFileException::genericException, -1);
  }
  m_handle = reinterpret_cast<std::intptr_t>(opened);
  m_path = path;
  return true;
}

std::size_t CFile::Read(void* buffer, std::size_t count) {
  constexpr std::size_t kMostAtOnce = 1U << 30;
  if (m_handle == kClosed) fail(CFileException::invalidFile, ERROR_INVALID_HANDLE);
  auto* next = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count) {
    DWORD got = 0;
    const auto wanted = static_cast<DWORD>(std::min(count - total, kMostAtOnce));
    if (!ReadFile(handleOf(m_handle), next + total, wanted, &got, nullptr))
      fail(CFileException::hardIO, static_cast<int>(GetLastError()));
    if (got == 0) break;
    total += got;
  }
  return total;
}

std::size_t CFile::ReadAt(std::uint64_t offset, void* buffer, std::size_t count) const {
  constexpr std::size_t kMostAtOnce = 1U << 30;
  if (m_handle == kClosed) fail(CFileException::invalidFile, ERROR_INVALID_HANDLE);
  auto* next = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count) {
    OVERLAPPED from{};
    from.Offset = static_cast<DWORD>(offset + total);
    from.OffsetHigh = static_cast<DWORD>((offset + total) >> 32);
    DWORD got = 0;
    const auto wanted = static_cast<DWORD>(std::min(count - total, kMostAtOnce));
    if (!ReadFile(handleOf(m_handle), next + total, wanted, &got, &from)) {
      if (GetLastError() == ERROR_HANDLE_EOF) break;
      fail(CFileException::hardIO, static_cast<int>(GetLastError()));
    }
    if (got == 0) break;
    total += got;
  }
  return total;
}

std::uint64_t CFile::Seek(std::int64_t offset, SeekPosition from) {
  LARGE_INTEGER distance, position;
  distance.QuadPart = offset;
  const DWORD method = from == begin ? FILE_BEGIN : from == current ? FILE_CURRENT : FILE_END;
  if (!SetFilePointerEx(handleOf(m_handle), distance, &position, method))
    fail(CFileException::badSeek, static_cast<int>(GetLastError()));
  return static_cast<std::uint64_t>(position.QuadPart);
}

std::uint64_t CFile::GetLength() const {
  LARGE_INTEGER length;
  if (!GetFileSizeEx(handleOf(m_handle), &length))
    fail(CFileException::invalidFile, static_cast<int>(GetLastError()));
  return static_cast<std::uint64_t>(length.QuadPart);
}

std::uint64_t CFile::GetPosition() const {
  const LARGE_INTEGER nowhere{};
  LARGE_INTEGER position;
  if (!SetFilePointerEx(handleOf(m_handle), nowhere, &position, FILE_CURRENT))
    fail(CFileException::invalidFile, static_cast<int>(GetLastError()));
  return static_cast<std::uint64_t>(position.QuadPart);
}

void CFile::Close() {
  if (m_handle != kClosed) CloseHandle(handleOf(m_handle));
  m_handle = kClosed;
}
