#pragma once

#include <cstddef>
#include <vector>

#include <megreader/framework/cfile.h>

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
