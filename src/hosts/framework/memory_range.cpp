#include <megreader/framework/memory_range.h>

#include <utility>

MemoryRange::MemoryRange(MemoryRange&& other) noexcept { swap(other); }

MemoryRange& MemoryRange::operator=(MemoryRange&& other) noexcept {
  if (this == &other) return *this;
  release();
  swap(other);
  return *this;
}

MemoryRange::~MemoryRange() { release(); }

void MemoryRange::swap(MemoryRange& other) noexcept {
  std::swap(m_data, other.m_data);
  std::swap(m_size, other.m_size);
  std::swap(m_file, other.m_file);
  std::swap(m_onDisk, other.m_onDisk);
}
