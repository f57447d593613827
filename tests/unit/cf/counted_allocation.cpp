// Stands in a file of its own so that no compiler sees the bodies where they are called: it would warn of memory from
// new that goes to free.
#include "counted_allocation.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

thread_local std::size_t allocations = 0;
thread_local std::size_t allocationsLeft = std::numeric_limits<std::size_t>::max();

void* allocate(std::size_t size, std::size_t alignment) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  --allocationsLeft;
  ++allocations;
  // aligned_alloc wants whole multiples of the alignment, and at least one.
  void* const memory = std::aligned_alloc(alignment, (size + alignment) / alignment * alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

std::size_t allocationCount() noexcept { return allocations; }

void allowAllocations(std::size_t count) noexcept { allocationsLeft = count; }

void allowAllAllocations() noexcept { allocationsLeft = std::numeric_limits<std::size_t>::max(); }

void* operator new(std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, std::max(static_cast<std::size_t>(alignment), sizeof(void*)));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept { std::free(memory); }
