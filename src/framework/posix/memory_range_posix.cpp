#include <sys/mman.h>

#include "framework/memory_range.h"

bool MemoryRange::reserve(std::size_t bytes) {
  release();
  if (bytes == 0) return true;
  void* mapped =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) return false;
  m_data = mapped;
  m_size = bytes;
#ifdef MADV_HUGEPAGE
  // Samples are written once, front to back: huge pages save most of the page faults. Only advice.
  madvise(m_data, m_size, MADV_HUGEPAGE);
#endif
  return true;
}

void MemoryRange::use(std::size_t /*offset*/, std::size_t /*bytes*/) {}  // every page is ready

void MemoryRange::release() {
  if (m_data != nullptr) munmap(m_data, m_size);
  m_data = nullptr;
  m_size = 0;
}
