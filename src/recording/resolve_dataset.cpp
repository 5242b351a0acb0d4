#include <string>
#include <system_error>
#include <vector>

#include "recording/file_names.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/recording.h>

namespace ctfmeg {
inline namespace v1 {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const fs::path& path, const std::error_code& reason) {
  const ErrorKind kind =
      reason == std::errc::no_such_file_or_directory || reason == std::errc::not_a_directory
          ? ErrorKind::notFound
      : reason == std::errc::permission_denied ? ErrorKind::noPermission
                                               : ErrorKind::damaged;
  throw Error(kind, path, "can't be read: " + reason.message());
}

std::vector<std::string> namesIn(const fs::path& directory) {
  std::error_code failed;
  fs::directory_iterator entry(directory, failed);
  if (failed) fail(directory, failed);
  std::vector<std::string> names;
  for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed))
    names.push_back(textOf(entry->path().filename()));
  if (failed) fail(directory, failed);
  return names;
}

fs::path resourceFileOf(const fs::path& directory) {
  fs::path own = stemOfFolder(directory);
  own += ".res4";
  std::error_code unknown;
  if (fs::exists(directory / own, unknown)) return directory / own;
  return directory / pathFromText(resourceFileAmong(namesIn(directory), textOf(own), directory));
}

}  // namespace

fs::path resolveDataset(const fs::path& given) {
  const fs::path path = reachable(given);
  std::error_code failed;
  const fs::file_status status = fs::status(path, failed);
  if (!fs::exists(status))
    fail(path, failed ? failed : std::make_error_code(std::errc::no_such_file_or_directory));
  fs::path file = fs::is_directory(status) ? resourceFileOf(path) : path;
  file.make_preferred();
  return file;
}

}  // namespace v1
}  // namespace ctfmeg
