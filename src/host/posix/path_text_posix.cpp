#include "host/path_text.h"

namespace ctfmeg {
inline namespace v1 {

std::filesystem::path pathFromText(const std::string& text) { return text; }
std::string textOf(const std::filesystem::path& path) { return path.string(); }
std::filesystem::path reachable(const std::filesystem::path& path) { return path; }

}  // namespace v1
}  // namespace ctfmeg
