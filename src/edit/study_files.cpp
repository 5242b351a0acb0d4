#include "edit/study_files.h"

#include <chrono>
#include <span>
#include <system_error>
#include <thread>

#include "base/file.h"
#include "edit/source.h"
#include "edit/system_files.h"
#include "output/result_file.h"

#include <ctfmeg/finding.h>
#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {
namespace {

namespace fs = std::filesystem;

void writeWhole(const fs::path& file, const std::string& bytes) {
  try {
    output::ResultFile result(reachable(file), textOf(file));
    result.write(std::as_bytes(std::span(bytes)));
    result.commit();
  } catch (const output::WriteError& error) {
    throw Error(ErrorKind::notWritten, file, error.what());
  }
}

}  // namespace

std::optional<std::string> bytesIfThere(const fs::path& file) {
  return isThere(file) ? std::optional(bytesOf(file)) : std::nullopt;
}

StudyFiles::~StudyFiles() {
  if (m_kept) return;
  std::error_code ignored;
  for (auto before = m_before.rbegin(); before != m_before.rend(); ++before) {
    try {
      if (before->bytes)
        writeWhole(before->file, *before->bytes);
      else
        fs::remove(reachable(before->file), ignored);
    } catch (const std::exception&) {
      // The reason why files are taken back is reported; a second one would not help.
    }
  }
  for (auto folder = m_folders.rbegin(); folder != m_folders.rend(); ++folder)
    fs::remove(reachable(*folder), ignored);  // fails where something is in it
}

void StudyFiles::makeFolder(const fs::path& folder) {
  const fs::path above = folder.parent_path();
  std::error_code failed;
  if (folder.empty() || fs::is_directory(reachable(folder), failed)) return;
  if (above != folder) makeFolder(above);
  if (fs::create_directory(reachable(folder), failed))
    m_folders.push_back(folder);
  else if (failed == std::errc::file_exists)
    throw Error(ErrorKind::refused, folder, "is no folder");
  else if (failed)
    failWriting(folder, failed);
}

void StudyFiles::put(const fs::path& file, const std::string& bytes) {
  auto before = bytesIfThere(file);
  if (before == bytes) return;
  m_before.push_back({file, std::move(before)});
  writeWhole(file, bytes);
}

StudyLock::StudyLock(const fs::path& study, const std::function<void()>& wait)
    : m_file(study / ".ctfmeg.lock") {
  constexpr std::chrono::milliseconds kPause{20};
  while (!take()) {
    wait();
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace ctfmeg::edit
