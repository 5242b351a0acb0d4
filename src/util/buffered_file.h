#pragma once

#include <cstdint>
#include <string>

#include <megreader/framework/cfile.h>

/// Another file, from where it stands, read in blocks: for formats that are read a few bytes at a time.
/// Reading only forward. Throws what the other file throws, but delivers every byte before the one that can't
/// be read: from a block that fails on, no more is read at once than is asked for.
class BufferedFile : public CFile {
 public:
  /// `file` must outlive this.
  explicit BufferedFile(CFile& file);

  std::size_t Read(void* buffer, std::size_t count) override;
  std::uint64_t GetLength() const override { return m_length; }
  std::uint64_t GetPosition() const override { return m_position; }

 private:
  /// Reads the next block. False when that fails; the other file is then where the block begins.
  bool readBlock();

  CFile& m_file;
  std::uint64_t m_length;
  std::uint64_t m_position;
  std::string m_block;
  std::size_t m_used = 0;  // bytes of the block that were delivered
  bool m_inBlocks = true;
};
