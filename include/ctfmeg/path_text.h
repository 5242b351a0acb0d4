#pragma once

#include <filesystem>
#include <string>

#include <ctfmeg/export.h>

namespace ctfmeg {
inline namespace v1 {

/// A path from UTF-8 text and the other way round, on every system; on POSIX systems the bytes as they are.
CTFMEG_API std::filesystem::path pathFromText(const std::string& text);
CTFMEG_API std::string textOf(const std::filesystem::path& path);

/// A path in a form that the system takes whatever its length: on Windows a long one becomes absolute
/// and gets the prefix that lifts the limit of 260 characters.
CTFMEG_API std::filesystem::path reachable(const std::filesystem::path& path);

}  // namespace v1
}  // namespace ctfmeg
