#include <windows.h>

#include <array>
#include <string>

#include "base/memory_range.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace {

std::error_code lastError() { return {static_cast<int>(GetLastError()), std::system_category()}; }

/// A new file that nobody else can open and that goes when it is closed, by whomever.
HANDLE openTransient(const std::filesystem::path& directory) {
  constexpr int kMostNames = 10000;
  for (int number = 0; number < kMostNames; ++number) {
    const std::filesystem::path name = directory / ("megreader-" + std::to_string(GetCurrentProcessId()) +
                                                    "-" + std::to_string(number) + ".tmp");
    const HANDLE file =
        CreateFileW(reachable(name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS) return file;
  }
  return INVALID_HANDLE_VALUE;
}

/// The file's length as its room on the disk, and all of it as memory; null, and the last error says why.
void* mapWhole(HANDLE file, std::size_t bytes) {
  const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READWRITE, static_cast<DWORD>(bytes >> 32),
                                            static_cast<DWORD>(bytes), nullptr);
  if (mapping == nullptr) return nullptr;
  void* view = MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, bytes);
  const DWORD reason = GetLastError();
  CloseHandle(mapping);  // the view keeps it
  SetLastError(reason);
  return view;
}

}  // namespace

bool MemoryRange::reserve(std::size_t bytes) {
  release();
  if (bytes == 0) return true;
  m_data = VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_READWRITE);
  if (m_data != nullptr) m_size = bytes;
  return m_data != nullptr;
}

std::error_code MemoryRange::reserveInFile(const std::filesystem::path& directory, std::size_t bytes,
                                           std::size_t /*expected*/) {
  release();
  const HANDLE file = openTransient(directory.empty() ? largeTemporaryFolder() : directory);
  if (file == INVALID_HANDLE_VALUE) return lastError();
  m_file = reinterpret_cast<std::intptr_t>(file);
  m_data = mapWhole(file, bytes);
  if (m_data == nullptr) {
    const std::error_code reason = lastError();
    release();
    return reason;
  }
  m_size = bytes;
  m_onDisk = bytes;
  return {};
}

std::error_code MemoryRange::use(std::size_t offset, std::size_t bytes) {
  if (m_file >= 0) return {};  // the disk has room for all of it
  const void* ready = VirtualAlloc(static_cast<char*>(m_data) + offset, bytes, MEM_COMMIT, PAGE_READWRITE);
  return ready != nullptr ? std::error_code() : lastError();
}

void MemoryRange::release() {
  if (m_data != nullptr) {
    if (m_file >= 0)
      UnmapViewOfFile(m_data);
    else
      VirtualFree(m_data, 0, MEM_RELEASE);
  }
  if (m_file >= 0) CloseHandle(reinterpret_cast<HANDLE>(m_file));
  m_data = nullptr;
  m_size = 0;
  m_file = -1;
  m_onDisk = 0;
}

std::filesystem::path largeTemporaryFolder() {
  std::array<wchar_t, MAX_PATH + 1> folder{};
  const DWORD length = GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
  return length > 0 && length < folder.size() ? std::filesystem::path(folder.data()) : ".";
}

}  // namespace ctfmeg
