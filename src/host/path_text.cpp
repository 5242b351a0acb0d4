#include "host/path_text.h"

namespace ctfmeg {
inline namespace v1 {

#ifdef _WIN32

std::filesystem::path pathFromText(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string textOf(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::filesystem::path reachable(const std::filesystem::path& path) {
  constexpr std::size_t kShort = 240;  // leaves room for the name of a file
  const std::wstring prefix = LR"(\\?\)";
  if (path.native().size() < kShort || path.native().starts_with(prefix)) return path;
  const std::wstring absolute = std::filesystem::absolute(path).make_preferred().native();
  if (absolute.starts_with(LR"(\\)")) return prefix + L"UNC" + absolute.substr(1);
  return prefix + absolute;
}

#else

std::filesystem::path pathFromText(const std::string& text) { return text; }
std::string textOf(const std::filesystem::path& path) { return path.string(); }
std::filesystem::path reachable(const std::filesystem::path& path) { return path; }

#endif

}  // namespace v1
}  // namespace ctfmeg
