#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

// What only the system can do with files.

namespace ctfmeg::edit {

/// Copies the first `bytes` bytes of a file to a new one within the system: sharing their blocks where the
/// file system can, else without passing them through this program. `goOn` is called with the bytes copied so
/// far, and may throw. False where the system can't do that; the new file is then to be written by hand.
/// Throws `Error` where writing fails.
bool copyWithinSystem(const std::filesystem::path& from, const std::filesystem::path& to, std::uint64_t bytes,
                      const std::function<void(std::uint64_t)>& goOn);

/// Renames a directory to a name that must not be there. Gives the reason when that fails.
std::error_code moveToNewName(const std::filesystem::path& from, const std::filesystem::path& to);

/// Dates a file or a directory 1970-01-01. Throws `Error`.
void date1970(const std::filesystem::path& path);

/// The error for something that can't be written.
[[noreturn]] void failWriting(const std::filesystem::path& path, const std::error_code& reason);

}  // namespace ctfmeg::edit
