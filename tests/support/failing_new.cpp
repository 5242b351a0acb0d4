#include "support/failing_new.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

std::size_t smallestFailing = SIZE_MAX;

void* allocate(std::size_t bytes) noexcept {
  return bytes >= smallestFailing ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}

void* allocateOrThrow(std::size_t bytes) {
  if (void* memory = allocate(bytes)) return memory;
  throw std::bad_alloc();
}

}  // namespace

FailingNew::FailingNew(std::size_t bytes) { smallestFailing = bytes; }
FailingNew::~FailingNew() { smallestFailing = SIZE_MAX; }

void* operator new(std::size_t bytes) { return allocateOrThrow(bytes); }
void* operator new[](std::size_t bytes) { return allocateOrThrow(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
