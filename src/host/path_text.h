#pragma once

#include <filesystem>
#include <string>

namespace ctfmeg {
inline namespace v1 {

/// A path from UTF-8 text and the other way round, on every system; on POSIX systems the bytes as they are.
std::filesystem::path pathFromText(const std::string& text);
std::string textOf(const std::filesystem::path& path);

/// The same path in a form that the system takes whatever its length: on Windows a long one becomes absolute
/// and gets the prefix that lifts the limit of 260 characters.
std::filesystem::path reachable(const std::filesystem::path& path);

}  // namespace v1
}  // namespace ctfmeg
