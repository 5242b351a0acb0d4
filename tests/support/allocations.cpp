#include "support/allocations.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr std::int64_t kNever = INT64_MAX;

std::atomic<std::size_t> smallestFailing{SIZE_MAX};
std::atomic<std::int64_t> untilFailing{kNever};
std::atomic<bool> allBehind{false};
std::atomic<bool> failed{false};
std::atomic<std::size_t> held{0};
std::atomic<std::size_t> peak{0};

std::size_t sizeOf(void* memory) {
#ifdef _WIN32
  return _msize(memory);
#else
  return malloc_usable_size(memory);
#endif
}

void* allocate(std::size_t bytes) noexcept {
  const bool numbered = untilFailing != kNever && (--untilFailing == 0 || (allBehind && untilFailing < 0));
  if (numbered || bytes >= smallestFailing) {
    failed = true;
    return nullptr;
  }
  void* memory = std::malloc(bytes == 0 ? 1 : bytes);
  if (memory == nullptr) return nullptr;
  const std::size_t now = held += sizeOf(memory);
  if (now > peak) peak = now;
  return memory;
}

void* allocateOrThrow(std::size_t bytes) {
  if (void* memory = allocate(bytes)) return memory;
  throw std::bad_alloc();
}

void release(void* memory) noexcept {
  if (memory != nullptr) held -= sizeOf(memory);
  std::free(memory);
}

}  // namespace

std::size_t bytesAllocated() { return held; }

PeakOfMemory::PeakOfMemory() : m_before(held) { peak = m_before; }
std::size_t PeakOfMemory::bytes() const { return std::max<std::size_t>(peak, m_before) - m_before; }

FailingNew::FailingNew(std::size_t bytes) {
  smallestFailing = bytes;
  failed = false;
}
FailingNew FailingNew::nth(std::int64_t number) {
  untilFailing = number;
  return FailingNew(SIZE_MAX);
}
FailingNew FailingNew::from(std::int64_t number) {
  allBehind = true;
  return nth(number);
}
FailingNew::~FailingNew() {
  allBehind = false;
  smallestFailing = SIZE_MAX;
  untilFailing = kNever;
}
bool FailingNew::happened() const { return failed; }

void* operator new(std::size_t bytes) { return allocateOrThrow(bytes); }
void* operator new[](std::size_t bytes) { return allocateOrThrow(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory); }
