#include "util/memory_file.h"

std::size_t MemoryFile::Read(void* buffer, std::size_t count) {
  const std::size_t got = m_content.copy(static_cast<char*>(buffer), count, m_position);
  m_position += got;
  return got;
}
