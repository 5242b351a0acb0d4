#include <windows.h>

#include "framework/memory_range.h"

bool MemoryRange::reserve(std::size_t bytes) {
  release();
  if (bytes == 0) return true;
  m_data = VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (m_data != nullptr) m_size = bytes;
  return m_data != nullptr;
}

void MemoryRange::release() {
  if (m_data != nullptr) VirtualFree(m_data, 0, MEM_RELEASE);
  m_data = nullptr;
  m_size = 0;
}
