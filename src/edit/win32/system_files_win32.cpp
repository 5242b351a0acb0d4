#include <windows.h>

#include <system_error>

#include "edit/system_files.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {

namespace fs = std::filesystem;

namespace {

std::error_code lastError() { return {static_cast<int>(::GetLastError()), std::system_category()}; }

}  // namespace

bool copyWithinSystem(const fs::path& /*from*/, const fs::path& /*to*/, std::uint64_t /*bytes*/,
                      const std::function<void(std::uint64_t)>& /*goOn*/) {
  return false;
}

std::error_code moveToNewName(const fs::path& from, const fs::path& to) {
  const bool moved = ::MoveFileExW(reachable(from).c_str(), reachable(to).c_str(), 0) != 0;
  return moved ? std::error_code() : lastError();
}

void date1970(const fs::path& path) {
  constexpr ULONGLONG kUnitsFrom1601 = 116444736000000000ULL;  // of 100 ns
  const FILETIME time{static_cast<DWORD>(kUnitsFrom1601 & 0xFFFFFFFF),
                      static_cast<DWORD>(kUnitsFrom1601 >> 32)};
  HANDLE file =
      ::CreateFileW(reachable(path).c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) failWriting(path, lastError());
  const bool dated = ::SetFileTime(file, &time, &time, &time) != 0;
  const std::error_code reason = lastError();
  ::CloseHandle(file);
  if (!dated) failWriting(path, reason);
}

}  // namespace ctfmeg::edit
