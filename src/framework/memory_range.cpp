#include "framework/memory_range.h"

#include <utility>

MemoryRange::MemoryRange(MemoryRange&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)) {}

MemoryRange& MemoryRange::operator=(MemoryRange&& other) noexcept {
  if (this != &other) {
    release();
    m_data = std::exchange(other.m_data, nullptr);
    m_size = std::exchange(other.m_size, 0);
  }
  return *this;
}

MemoryRange::~MemoryRange() { release(); }
