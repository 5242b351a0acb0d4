#include "base/memory_range.h"

#include <utility>

namespace ctfmeg {

MemoryRange& MemoryRange::operator=(MemoryRange&& other) noexcept {
  if (this == &other) return *this;
  release();
  swap(other);
  return *this;
}

void MemoryRange::swap(MemoryRange& other) noexcept {
  std::swap(m_data, other.m_data);
  std::swap(m_size, other.m_size);
  std::swap(m_file, other.m_file);
  std::swap(m_onDisk, other.m_onDisk);
}

}  // namespace ctfmeg
