#pragma once

#include <cstddef>

/// A contiguous range of zeroed memory straight from the system: reserving it costs nothing, each page is
/// taken when it is first written. Movable; released by the destructor.
class MemoryRange {
 public:
  MemoryRange() = default;
  MemoryRange(MemoryRange&& other) noexcept;
  MemoryRange& operator=(MemoryRange&& other) noexcept;
  ~MemoryRange();

  /// Releases what is held and reserves `bytes`. False, holding nothing, when the system refuses.
  bool reserve(std::size_t bytes);
  void release();

  /// Makes a part of the range ready to be written and read: to be called before either. Throws
  /// std::bad_alloc.
  void use(std::size_t offset, std::size_t bytes);

  /// Aligned for every type; null when nothing is held.
  void* data() const { return m_data; }
  std::size_t size() const { return m_size; }

 private:
  void* m_data = nullptr;
  std::size_t m_size = 0;
};
