#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <megreader/framework/cstring.h>
#include <megreader/framework/exceptions.h>
#include <megreader/framework/export.h>

namespace ctfmeg {
class File;
}

/// A file opened for reading. Positions and lengths are bytes. Not copyable; closes itself.
/// Paths are in Windows form (backslashes); each system turns them into its own.
class MEGREADER_API CFile {
 public:
  enum OpenFlags : unsigned { modeRead = 0x0, shareDenyNone = 0x40 };
  enum SeekPosition { begin, current, end };

  CFile() = default;
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;
  virtual ~CFile();

  /// Opens a regular file, closing what was open. False when it can't be opened; `error` then says why.
  bool Open(const CString& path, unsigned flags, CFileException* error = nullptr);

  /// Reads up to `count` bytes; fewer only at the end of the file. Throws CFileException when the system
  /// can't read, and when no file was opened.
  virtual std::size_t Read(void* buffer, std::size_t count);

  /// Returns the new position. Throws CFileException for a position before the start, and when no file was
  /// opened.
  std::uint64_t Seek(std::int64_t offset, SeekPosition from);

  virtual std::uint64_t GetLength() const;
  virtual std::uint64_t GetPosition() const;
  const CString& GetFilePath() const { return m_path; }  ///< as given to `Open`
  void Close();

  /// The open file, for readers of formats; valid until it is closed. Throws CFileException when no file was
  /// opened.
  const ctfmeg::File& opened() const;

 private:
  std::shared_ptr<const ctfmeg::File> m_file;
  std::uint64_t m_position = 0;
  CString m_path;
};

/// Buffered reading from a `CFile`, from its position at construction on. The archive loads blocks of
/// `blockSize` bytes, so the file's own position is the end of the last block loaded, ahead of what
/// was delivered: readers of text files test exactly that position. The file must outlive the archive.
class MEGREADER_API CArchive {
 public:
  enum Mode : unsigned { load = 1 };

  explicit CArchive(CFile* file, Mode mode = load, std::size_t blockSize = 4096);
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;
  ~CArchive() = default;

  /// Reads up to `count` bytes; fewer only at the end of the file, which is no CArchiveException. Throws what
  /// the file throws.
  std::size_t Read(void* buffer, std::size_t count);

  /// Ends the archive and moves the file back to just after the last byte delivered.
  void Close();

 private:
  CFile* m_file;
  std::vector<char> m_block;
  std::size_t m_next = 0;    // first byte of the block not delivered yet
  std::size_t m_loaded = 0;  // bytes of the block that the file filled
};
