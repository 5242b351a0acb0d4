#include "base/file.h"

#include <algorithm>
#include <cstring>
#include <system_error>

#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace {

std::string sentenceOf(FileError::Cause cause, int systemError) {
  if (systemError > 0) return "can't be read: " + std::system_category().message(systemError);
  return cause == FileError::Cause::generic ? "is not a regular file" : "can't be read";
}

bool means(const FileError& error, std::errc reason) {
  return error.systemError() == static_cast<int>(reason);
}

}  // namespace

FileError::FileError(Cause cause, int systemError, const std::string& path)
    : FileError(cause, systemError, path, sentenceOf(cause, systemError)) {}

FileError::FileError(Cause cause, int systemError, const std::string& path, std::string text)
    : std::runtime_error(path + ": " + text),
      m_cause(cause),
      m_systemError(systemError),
      m_path(path),
      m_text(std::move(text)) {}

FileError FileError::ofMissing(const std::string& path) {
  return {Cause::notFound, static_cast<int>(std::errc::no_such_file_or_directory), path};
}

FileError FileError::ofDirectory(int systemError, const std::string& path) {
  // As Windows refuses to open one.
  FileError error(Cause::accessDenied, systemError, path, "can't be read: Is a directory");
  error.m_directory = true;
  return error;
}

Finding findingOf(const FileError& error, Finding::Severity severity) {
  using Cause = FileError::Cause;
  Code code = Code::fileError;
  if (error.cause() == Cause::notFound || means(error, std::errc::no_such_file_or_directory))
    code = Code::fileNotFound;
  else if (error.cause() == Cause::accessDenied && !error.isDirectory())
    code = Code::fileNoPermission;
  return {.severity = severity, .code = wordOf(code), .file = error.path(), .text = error.text()};
}

std::vector<std::string> LocalStore::list() const {
  namespace fs = std::filesystem;
  std::vector<std::string> names;
  std::error_code failed;
  fs::directory_iterator entry(m_directory.empty() ? fs::path(".") : m_directory, failed);
  for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed))
    names.push_back(textOf(entry->path().filename()));
  if (failed) {
    const auto cause = failed == std::errc::permission_denied           ? FileError::Cause::accessDenied
                       : failed == std::errc::no_such_file_or_directory ? FileError::Cause::notFound
                                                                        : FileError::Cause::badPath;
    throw FileError(cause, failed.value(), textOf(m_directory));
  }
  std::sort(names.begin(), names.end());
  return names;
}

OpenFile LocalStore::open(const std::string& name) const {
  const auto path = m_directory / pathFromText(name);
  return isThere(path) ? openLocalFile(path) : nullptr;
}

std::string LocalStore::pathOf(const std::string& name) const {
  return textOf(m_directory / pathFromText(name));
}

std::size_t Cursor::read(std::span<std::byte> out) {
  if (out.empty()) return 0;
  constexpr std::size_t kBlock = 16384;
  const auto copyHeld = [&] {
    if (m_position < m_blockStart || m_position - m_blockStart >= m_block.size()) return std::size_t{0};
    const auto held = std::span(m_block).subspan(static_cast<std::size_t>(m_position - m_blockStart));
    const std::size_t count = std::min(held.size(), out.size());
    std::memcpy(out.data(), held.data(), count);
    m_position += count;
    return count;
  };
  std::size_t total = copyHeld();
  out = out.subspan(total);
  if (out.empty()) return total;
  if (out.size() < kBlock) {
    m_block.resize(kBlock);
    m_blockStart = m_position;
    try {
      m_block.resize(m_file->readAt(m_position, m_block));
      return total + copyHeld();
    } catch (const FileError&) {
      // Further on the disk can't be read; what is asked for may lie before that.
      m_block.clear();
    }
  }
  const std::size_t got = m_file->readAt(m_position, out);
  m_position += got;
  return total + got;
}

std::vector<std::byte> Cursor::upTo(std::int64_t count) {
  // A little is tried whatever the length says: some files of the system have content but no length.
  constexpr std::uint64_t kAlways = 4096;
  const std::uint64_t remaining = std::max(m_size > m_position ? m_size - m_position : 0, kAlways);
  const auto wanted = static_cast<std::uint64_t>(std::max<std::int64_t>(count, 0));
  std::vector<std::byte> bytes(static_cast<std::size_t>(std::min(wanted, remaining)));
  bytes.resize(read(bytes));
  return bytes;
}

std::optional<std::vector<std::byte>> Cursor::exactly(std::int64_t count) {
  auto bytes = upTo(count);
  if (static_cast<std::int64_t>(bytes.size()) != count) return std::nullopt;
  return bytes;
}

bool Cursor::fill(std::span<std::byte> out) { return read(out) == out.size(); }

}  // namespace ctfmeg
