#include "hosts/framework/win32/long_path.h"

#include <windows.h>

std::wstring longPath(const CString& path) {
  constexpr std::size_t kRoom = 20;  // for a folder's short names, and a file's name behind it
  const std::wstring& given = path.str();
  if (given.size() < MAX_PATH - kRoom || given.starts_with(LR"(\\?\)") || given.starts_with(LR"(\\.\)"))
    return given;
  std::wstring absolute(GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
  const DWORD length =
      GetFullPathNameW(given.c_str(), static_cast<DWORD>(absolute.size()), absolute.data(), nullptr);
  if (length == 0 || length >= absolute.size()) return given;
  absolute.resize(length);
  if (absolute.starts_with(LR"(\\)")) return LR"(\\?\UNC)" + absolute.substr(1);
  return LR"(\\?\)" + absolute;
}
