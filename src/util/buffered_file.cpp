#include "util/buffered_file.h"

#include <algorithm>

BufferedFile::BufferedFile(CFile& file)
    : m_file(file), m_length(file.GetLength()), m_position(file.GetPosition()) {
  setFilePath(file.GetFilePath());
}

std::size_t BufferedFile::Read(void* buffer, std::size_t count) {
  constexpr std::size_t kBlock = 16384;
  auto* next = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count) {
    if (m_used == m_block.size()) {
      m_used = 0;
      m_block.resize(kBlock);
      std::size_t got = 0;
      try {
        got = m_file.Read(m_block.data(), kBlock);
      } catch (...) {
        m_block.clear();
        throw;
      }
      m_block.resize(got);
      if (got == 0) break;
    }
    const std::size_t taken = std::min(count - total, m_block.size() - m_used);
    m_block.copy(next + total, taken, m_used);
    m_used += taken;
    total += taken;
  }
  m_position += total;
  return total;
}
