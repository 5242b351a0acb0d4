#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <megreader/framework/cfile.h>

/// A block of records that is read piece by piece, for it may be large and most of it is never looked at
/// twice. Throws what the file throws.
class RecordPieces {
 public:
  /// The block begins where `file` stands. `count` is 0 or more.
  RecordPieces(CFile& file, std::int32_t count, std::size_t recordSize)
      : m_file(file),
        m_start(file.GetPosition()),
        m_left(static_cast<std::size_t>(count)),
        m_size(recordSize) {}

  /// Whether the file holds all records; asked before the first is read.
  bool allThere() const { return m_start + m_left * m_size <= m_file.GetLength(); }

  /// The next record and bytes behind it, as many as a text takes that begins in it and runs on to the next
  /// zero byte of the block. Valid until the next call. Empty behind the last record, and where the file ends
  /// early.
  std::span<const std::byte> next();

  /// Where in the file the record stands that `next` gave.
  std::uint64_t offset() const { return m_start + (m_given - 1) * m_size; }

 private:
  bool readPiece();

  CFile& m_file;
  std::uint64_t m_start;
  std::size_t m_left;       // records that are not in a piece yet
  std::size_t m_size;       // of a record
  std::size_t m_given = 0;  // records so far
  std::vector<std::byte> m_piece;
  std::size_t m_next = 0;  // in the piece
};
