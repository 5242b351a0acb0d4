#pragma once

#include <cstddef>
#include <cstdint>
#include <system_error>

#include <megreader/framework/cstring.h>

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

  /// The same in a file of `directory` (in Windows form; empty: the system's folder for large temporary
  /// files) that has no name, that nobody else can open, and that is gone with the process, however that
  /// ends. Room on the disk for the first `expected` bytes is taken at once, so far as the file system means
  /// it when it grants room. Gives why it can't be had.
  std::error_code reserveInFile(const CString& directory, std::size_t bytes, std::size_t expected);

  void release();

  /// Makes a part of the range ready to be written and read: to be called before either. Gives why it can't
  /// be made so.
  std::error_code use(std::size_t offset, std::size_t bytes);

  /// Aligned for every type; null when nothing is held.
  void* data() const { return m_data; }
  std::size_t size() const { return m_size; }

 private:
  void swap(MemoryRange& other) noexcept;

  void* m_data = nullptr;
  std::size_t m_size = 0;
  std::intptr_t m_file = -1;  // the system's handle of the file; -1 without one
  std::size_t m_onDisk = 0;   // bytes of the file, from its start, that the disk has room for
};

/// The folder for large temporary files, in Windows form.
CString largeTemporaryFolder();
