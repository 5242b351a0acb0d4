#include <megreader/framework/carchive.h>

#include <algorithm>
#include <cstring>

CArchive::CArchive(CFile* file, Mode /*mode*/, std::size_t blockSize) : m_file(file), m_block(blockSize) {}

std::size_t CArchive::Read(void* buffer, std::size_t count) {
  auto* out = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count && m_file != nullptr) {
    if (m_next == m_loaded) {
      m_next = m_loaded = 0;
      m_loaded = m_file->Read(m_block.data(), m_block.size());
      if (m_loaded == 0) break;
    }
    const std::size_t part = std::min(count - total, m_loaded - m_next);
    std::memcpy(out + total, m_block.data() + m_next, part);
    m_next += part;
    total += part;
  }
  return total;
}

void CArchive::Close() {
  if (m_file == nullptr) return;
  if (m_next != m_loaded) m_file->Seek(-static_cast<std::int64_t>(m_loaded - m_next), CFile::current);
  m_file = nullptr;
}
