#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/file.h"

namespace ctfmeg {

/// The bytes of a file, loaded in blocks.
class BlockBytes {
 public:
  BlockBytes(const File& file, std::size_t blockSize) : m_file(file), m_block(blockSize) {}

  /// False at the end. Throws FileError.
  bool next(char& byte) {
    if (m_next == m_loaded && !load()) return false;
    byte = static_cast<char>(m_block[m_next++]);
    return true;
  }

  /// The end of the last block loaded, ahead of what was delivered.
  std::uint64_t position() const { return m_position; }

 private:
  bool load() {
    m_next = m_loaded = 0;
    m_loaded = m_file.readAt(m_position, m_block);
    m_position += m_loaded;
    return m_loaded > 0;
  }

  const File& m_file;
  std::vector<std::byte> m_block;
  std::uint64_t m_position = 0;
  std::size_t m_next = 0;    // first byte of the block not delivered yet
  std::size_t m_loaded = 0;  // bytes of the block that the file filled
};

/// Lines as bytes, from anything with `bool next(char&)`. CR, LF and CR LF end a line.
template <class Bytes>
class RawLines {
 public:
  enum class End { lineBreak, limit, endOfData };

  explicit RawLines(Bytes& bytes) : m_bytes(bytes) {}

  /// Reads into `line` up to a line break, `limit` bytes (the rest comes with the next call) or the end of
  /// the data. Blank lines are passed over unless they are asked for.
  End next(std::string& line, std::size_t limit, bool blankToo = false) {
    line.clear();
    for (char byte = 0; m_bytes.next(byte);) {
      const bool endsLine = byte == '\n' || byte == '\r';
      const bool secondOfPair = byte == '\n' && m_afterCr;
      m_afterCr = byte == '\r';
      if (line.empty() && !secondOfPair) m_line = m_breaks + 1;
      if (endsLine && !secondOfPair) ++m_breaks;
      if (endsLine && (!line.empty() || (blankToo && !secondOfPair))) return End::lineBreak;
      if (endsLine) continue;
      line += byte;
      if (line.size() == limit) return End::limit;
    }
    return End::endOfData;
  }

  /// Number of the line that was read last, from 1, blank ones counted.
  std::int64_t lineNumber() const { return m_line; }

 private:
  Bytes& m_bytes;
  bool m_afterCr = false;
  std::int64_t m_breaks = 0;
  std::int64_t m_line = 0;
};

}  // namespace ctfmeg
