// Stands in a file of its own so that no compiler sees the bodies where they are called: it would warn of memory from
// new that goes to free.
#include "counted_allocation.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace {

thread_local std::size_t allocations = 0;
thread_local std::size_t allocationsLeft = std::numeric_limits<std::size_t>::max();

void count() {
  if (allocationsLeft == 0) throw std::bad_alloc();
  --allocationsLeft;
  ++allocations;
}

void* allocate(std::size_t size) {
  count();
  void* const memory = std::malloc(std::max<std::size_t>(size, 1));
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

// The aligned place lies behind a pointer to what is to be freed: not every system has aligned_alloc.
void* allocateAligned(std::size_t size, std::size_t alignment) {
  std::size_t space = size + alignment;
  void* const memory = allocate(space + sizeof(void*));
  void* place = static_cast<char*>(memory) + sizeof(void*);
  std::align(alignment, size, place, space);
  std::memcpy(static_cast<char*>(place) - sizeof(void*), &memory, sizeof(void*));
  return place;
}

void freeAligned(void* place) {
  if (place == nullptr) return;
  void* memory = nullptr;
  std::memcpy(&memory, static_cast<char*>(place) - sizeof(void*), sizeof(void*));
  std::free(memory);
}

}  // namespace

std::size_t allocationCount() noexcept { return allocations; }

void allowAllocations(std::size_t count) noexcept { allocationsLeft = count; }

void allowAllAllocations() noexcept { allocationsLeft = std::numeric_limits<std::size_t>::max(); }

void* operator new(std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateAligned(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept { freeAligned(memory); }
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  freeAligned(memory);
}
