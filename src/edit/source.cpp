#include "edit/source.h"

#include <algorithm>
#include <system_error>

#include "base/encoding.h"
#include "base/file.h"
#include "base/finding_codes.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {
namespace {

namespace fs = std::filesystem;

/// A recording's files are its folder's: a resource file in a folder of other things has none of its own.
fs::path directoryOf(const fs::path& in, const Recording& recording) {
  const fs::path directory = recording.resourceFile().parent_path();
  std::error_code unknown;
  const fs::path itself = fs::canonical(directory.empty() ? "." : directory, unknown);
  if (!fs::is_directory(in, unknown) && lowered(textOf(itself.extension())) != ".ds")
    throw Error(ErrorKind::refused, recording.resourceFile(),
                "is in a folder that is not called .ds: name the folder, if all of it is the dataset");
  return directory.empty() ? fs::path(".") : directory;
}

[[noreturn]] void failReading(const fs::path& path, const std::error_code& reason) {
  throw Error(ErrorKind::noPermission, path, "can't be read: " + reason.message());
}

class Listing {
 public:
  explicit Listing(Source& source) : m_source(source) {}

  void list(const fs::path& folder, const std::string& prefix) {
    std::error_code failed;
    fs::directory_iterator entry(reachable(folder), failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed))
      add(*entry, prefix + textOf(entry->path().filename()));
    if (failed) throw Error(ErrorKind::noPermission, folder, "can't be listed: " + failed.message());
  }

 private:
  void add(const fs::directory_entry& entry, const std::string& name) {
    std::error_code failed;
    const fs::file_status status = entry.status(failed);
    const bool isCircle = failed == std::errc::too_many_symbolic_link_levels;
    if (status.type() == fs::file_type::none && !isCircle) failReading(entry.path(), failed);
    if (fs::is_directory(status) && !entry.is_symlink()) {
      m_source.folders.push_back(name);
      list(entry.path(), name + "/");
    } else if (fs::is_regular_file(status)) {
      const std::uint64_t bytes = entry.file_size(failed);
      if (failed) failReading(entry.path(), failed);
      const fs::file_time_type changed = entry.last_write_time(failed);
      if (failed) failReading(entry.path(), failed);
      m_source.files.push_back({name, entry.path(), bytes, changed});
    } else {
      const std::string is = fs::is_directory(status) ? "is a link to a folder"
                             : entry.is_symlink()     ? "is a link that leads nowhere"
                                                      : "is no file";
      if (textOf(entry.path().extension()).ends_with("meg4"))
        throw Error(ErrorKind::notFound, entry.path(), is);
      m_source.warnings.push_back({.severity = Finding::Severity::warning,
                                   .code = wordOf(Code::fileError),
                                   .file = textOf(entry.path()),
                                   .text = is + ", and is not copied"});
    }
  }

  Source& m_source;
};

}  // namespace

Source openSource(const fs::path& in) {
  Recording recording = Recording::open(in);
  Source source{directoryOf(in, recording), recording, {}, {}, recording.warnings()};
  Listing(source).list(source.directory, "");
  std::sort(source.files.begin(), source.files.end(),
            [](const SourceFile& a, const SourceFile& b) { return a.name < b.name; });
  std::sort(source.folders.begin(), source.folders.end());
  requireReadable(source.recording.warnings());
  return source;
}

void requireReadable(const std::vector<Finding>& warnings) {
  for (const Finding& finding : warnings)
    if (finding.code == wordOf(Code::fileNotFound) || finding.code == wordOf(Code::fileNoPermission) ||
        finding.code == wordOf(Code::fileError))
      throw Error(kindOf(finding), pathFromText(finding.file), finding.text, {finding});
}

void requireUnchanged(const Source& source) {
  for (const SourceFile& file : source.files) {
    std::error_code failed;
    const fs::path path = reachable(file.path);
    const std::uint64_t bytes = fs::file_size(path, failed);
    const fs::file_time_type changed = failed ? fs::file_time_type() : fs::last_write_time(path, failed);
    if (failed) failReading(file.path, failed);
    if (bytes != file.bytes || changed != file.changed)
      throw Error(ErrorKind::damaged, file.path, "was changed while it was copied: the copy is given up");
  }
}

std::string bytesOf(const fs::path& file) {
  constexpr std::uint64_t kMost = std::uint64_t{1} << 30;  // a header of 32,767 channels has 110 MB
  try {
    const OpenFile open = openLocalFile(file);
    const std::uint64_t size = open->size();
    if (size > kMost)
      throw Error(ErrorKind::damaged, file, "has more than 1 GB, which no file of its kind has");
    std::string bytes(static_cast<std::size_t>(size), '\0');
    bytes.resize(open->readAt(0, std::as_writable_bytes(std::span(bytes))));
    return bytes;
  } catch (const FileError& error) {
    const Finding finding = findingOf(error);
    throw Error(kindOf(finding), pathFromText(finding.file), finding.text, {finding});
  }
}

}  // namespace ctfmeg::edit
