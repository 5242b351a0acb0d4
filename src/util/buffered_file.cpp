#include "util/buffered_file.h"

#include <algorithm>

BufferedFile::BufferedFile(CFile& file)
    : m_file(file), m_length(file.GetLength()), m_position(file.GetPosition()) {
  setFilePath(file.GetFilePath());
}

bool BufferedFile::readBlock() {
  constexpr std::size_t kBlock = 16384;
  const auto start = static_cast<std::int64_t>(m_file.GetPosition());
  m_block.clear();
  m_used = 0;
  m_block.resize(kBlock);
  try {
    m_block.resize(m_file.Read(m_block.data(), kBlock));
    return true;
  } catch (CFileException* error) {
    error->Delete();
    m_block.clear();
    m_file.Seek(start, begin);
    return false;
  }
}

std::size_t BufferedFile::Read(void* buffer, std::size_t count) {
  auto* next = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count) {
    if (m_used == m_block.size()) {
      if (m_inBlocks) m_inBlocks = readBlock();
      if (!m_inBlocks) {
        total += m_file.Read(next + total, count - total);
        break;
      }
      if (m_block.empty()) break;
    }
    const std::size_t taken = std::min(count - total, m_block.size() - m_used);
    m_block.copy(next + total, taken, m_used);
    m_used += taken;
    total += taken;
  }
  m_position += total;
  return total;
}
