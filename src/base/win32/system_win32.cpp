#include <windows.h>

#include "base/encoding.h"
#include "base/threads.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {

std::string utf8FromAnsi(std::string_view bytes) {
  const int length = static_cast<int>(bytes.size());
  std::wstring text(bytes.size(), L'\0');  // a byte never takes more than one 16-bit character
  const int converted = MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, text.data(), length);
  text.resize(static_cast<std::size_t>(converted));
  return utf8FromWide(text);
}

std::thread startBackgroundThread(const std::function<void()>& work) { return std::thread(work); }

std::int64_t processNumber() { return GetCurrentProcessId(); }

// There are no forks.
void holdWhileForking(std::mutex& /*mutex*/) {}

inline namespace v1 {

std::filesystem::path pathFromText(const std::string& text) { return wideFromUtf8(text); }
std::string textOf(const std::filesystem::path& path) { return utf8FromWide(path.native()); }

std::filesystem::path reachable(const std::filesystem::path& path) {
  constexpr std::size_t kRoom = 20;  // for a folder's short names, and the name of a file in it
  std::filesystem::path preferred = path;
  const std::wstring given = preferred.make_preferred().native();
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

}  // namespace v1
}  // namespace ctfmeg
