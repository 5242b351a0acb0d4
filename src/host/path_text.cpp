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

#else

std::filesystem::path pathFromText(const std::string& text) { return text; }
std::string textOf(const std::filesystem::path& path) { return path.string(); }

#endif

}  // namespace v1
}  // namespace ctfmeg
