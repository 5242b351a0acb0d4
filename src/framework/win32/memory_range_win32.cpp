#include <windows.h>

#include <new>

#include "framework/memory_range.h"

bool MemoryRange::reserve(std::size_t bytes) {
  release();
  if (bytes == 0) return true;
  m_data = VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_READWRITE);
  if (m_data != nullptr) m_size = bytes;
  return m_data != nullptr;
}

void MemoryRange::use(std::size_t offset, std::size_t bytes) {
  if (VirtualAlloc(static_cast<char*>(m_data) + offset, bytes, MEM_COMMIT, PAGE_READWRITE) == nullptr)
    throw std::bad_alloc();
}

void MemoryRange::release() {
  if (m_data != nullptr) VirtualFree(m_data, 0, MEM_RELEASE);
  m_data = nullptr;
  m_size = 0;
}
