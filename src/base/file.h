#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/notices.h"

namespace ctfmeg {

/// A file could not be opened or read.
class FileError : public std::runtime_error {
 public:
  /// With the numbers that hosts know from their framework.
  enum class Cause {
    generic = 1,
    notFound = 2,
    badPath = 3,
    tooManyOpenFiles = 4,
    accessDenied = 5,
    invalidFile = 6,
    badSeek = 9,
    hardIO = 10,
    sharingViolation = 11,
    lockViolation = 12,
  };

  /// `systemError` is the system's own number, -1 when there is none; `path` is UTF-8.
  FileError(Cause cause, int systemError, const std::string& path);
  /// With a sentence of the caller's.
  FileError(Cause cause, int systemError, const std::string& path, std::string text);
  /// A file that is needed is not there.
  static FileError ofMissing(const std::string& path);
  /// A directory is where a file should be.
  static FileError ofDirectory(int systemError, const std::string& path);

  Cause cause() const { return m_cause; }
  int systemError() const { return m_systemError; }
  const std::string& path() const { return m_path; }
  /// `what()` without the path: one plain sentence, in the system's words.
  const std::string& text() const { return m_text; }
  bool isDirectory() const { return m_directory; }

 private:
  Cause m_cause;
  int m_systemError;
  std::string m_path;
  std::string m_text;
  bool m_directory = false;
};

/// Which file, why, in the system's words.
Finding findingOf(const FileError& error, Finding::Severity severity = Finding::Severity::error);

/// An open file. Operations may be called from several threads at once and throw FileError.
class File {
 public:
  explicit File(std::string path) : m_path(std::move(path)) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  virtual ~File() = default;

  /// Bytes, as it is now.
  virtual std::uint64_t size() const = 0;

  /// A number that another file of the same name does not have; 0 where none is known.
  virtual std::uint64_t identity() const { return 0; }

  /// Reads the bytes from `offset` on; returns how many, fewer than `out` has room for only at the end.
  virtual std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const = 0;

  /// UTF-8, as the system writes paths; on POSIX systems the bytes as they are.
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

using OpenFile = std::shared_ptr<const File>;

/// Where the files of one dataset are.
class Store {
 public:
  Store() = default;
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  virtual ~Store() = default;

  /// Names of the files. Throws FileError.
  virtual std::vector<std::string> list() const = 0;

  /// Null when there is no such file; throws FileError when it is there and can't be opened.
  virtual OpenFile open(const std::string& name) const = 0;

  /// How a file is named to people, whether it is there or not.
  virtual std::string pathOf(const std::string& name) const = 0;

  /// Whether reading is waiting, as for a server, so that several threads pay however little is read.
  virtual bool waits() const { return false; }
};

/// The files of a directory on this machine.
class LocalStore : public Store {
 public:
  explicit LocalStore(std::filesystem::path directory) : m_directory(std::move(directory)) {}
  std::vector<std::string> list() const override;
  OpenFile open(const std::string& name) const override;
  std::string pathOf(const std::string& name) const override;

 private:
  std::filesystem::path m_directory;
};

enum class Sharing {
  all,   ///< others may read and write the file meanwhile
  none,  ///< nobody else may open it; on POSIX systems no different
};

/// Opens a regular file for reading. Throws FileError.
OpenFile openLocalFile(const std::filesystem::path& path, Sharing sharing = Sharing::all);

/// Whether something of exactly that name is there: a file, a folder, or a link that leads nowhere. False for
/// a path that cannot exist.
bool isThere(const std::filesystem::path& path);

/// Reads a file from front to back, a few bytes at a time, with few calls on the file.
class Cursor {
 public:
  /// Reads no further than `file` goes; it must outlive this.
  explicit Cursor(const File& file, std::uint64_t position = 0)
      : m_file(&file), m_position(position), m_size(file.size()) {}

  std::uint64_t position() const { return m_position; }
  const File& file() const { return *m_file; }

  /// The next `count` bytes; fewer where the file ends. Room is made for no more than the file holds.
  /// Throws FileError.
  std::vector<std::byte> upTo(std::int64_t count);

  /// The next `count` bytes; nothing, with the rest of the file used up, when it holds fewer.
  std::optional<std::vector<std::byte>> exactly(std::int64_t count);

  /// Fills `out`; false when the file ends before.
  bool fill(std::span<std::byte> out);

 private:
  std::size_t read(std::span<std::byte> out);

  const File* m_file;
  std::uint64_t m_position;
  std::uint64_t m_size;
  std::vector<std::byte> m_block;  // bytes of the file from `m_blockStart` on
  std::uint64_t m_blockStart = 0;
};

}  // namespace ctfmeg
