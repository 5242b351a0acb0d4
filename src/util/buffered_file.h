#pragma once

#include <string>

#include "framework/cfile.h"

/// Another file, from where it stands, read in blocks: for formats that are read a few bytes at a time.
/// Reading only forward. Throws what the other file throws, once what was read before is used up.
class BufferedFile : public CFile {
 public:
  /// `file` must outlive this.
  explicit BufferedFile(CFile& file);

  std::size_t Read(void* buffer, std::size_t count) override;
  std::uint64_t GetLength() const override { return m_length; }
  std::uint64_t GetPosition() const override { return m_position; }

 private:
  CFile& m_file;
  std::uint64_t m_length;
  std::uint64_t m_position;
  std::string m_block;
  std::size_t m_used = 0;  // bytes of the block that were delivered
};
