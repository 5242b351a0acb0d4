#include <algorithm>
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

std::vector<fs::path> resourceFilesIn(const fs::path& directory) {
  std::error_code failed;
  fs::directory_iterator entry(directory, failed);
  if (failed) fail(directory, failed);
  std::vector<fs::path> found;
  for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed))
    if (entry->path().extension() == ".res4") found.push_back(entry->path());
  if (failed) fail(directory, failed);
  std::sort(found.begin(), found.end());
  return found;
}

fs::path resourceFileOf(const fs::path& directory) {
  fs::path own = stemOfFolder(directory);
  own += ".res4";
  std::error_code unknown;
  if (fs::exists(directory / own, unknown)) return directory / own;
  const auto found = resourceFilesIn(directory);
  if (found.size() == 1) return found.front();
  if (found.empty())
    throw Error(ErrorKind::notADataset, directory,
                "holds no CTF resource file: looked for " + textOf(own) + " and for any other *.res4");
  std::string names;
  for (const auto& file : found)
    names += (names.empty() ? "" : ", ") + textOf(file.filename());
  throw Error(ErrorKind::notADataset, directory,
              "holds several CTF resource files and none is " + textOf(own) + ": name one of " + names);
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
