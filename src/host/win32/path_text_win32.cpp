#include "framework/encoding.h"
#include "framework/win32/long_path.h"
#include "host/path_text.h"

namespace ctfmeg {
inline namespace v1 {

std::filesystem::path pathFromText(const std::string& text) { return fromUtf8(text).str(); }
std::string textOf(const std::filesystem::path& path) { return toUtf8(CString(path.native())); }

std::filesystem::path reachable(const std::filesystem::path& path) {
  std::filesystem::path preferred = path;
  return longPath(CString(preferred.make_preferred().native()));
}

}  // namespace v1
}  // namespace ctfmeg
