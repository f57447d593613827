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
#include <utility>

namespace {

// Bytes take a header before each place, so they are counted only where nothing else frees what is allocated here, nor
// the other way round: a DLL has an operator new of its own.
#ifdef COUNT_BYTES
constexpr bool kCountsBytes = true;
#else
constexpr bool kCountsBytes = false;
#endif

thread_local std::size_t allocations = 0;
thread_local std::size_t allocationsLeft = std::numeric_limits<std::size_t>::max();
thread_local std::ptrdiff_t bytes = 0;
thread_local std::ptrdiff_t mostBytes = 0;

void count(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  --allocationsLeft;
  ++allocations;
  bytes += static_cast<std::ptrdiff_t>(size);
  mostBytes = std::max(mostBytes, bytes);
}

/// What lies in front of each place that is given out.
struct Header {
  void* memory;  // what is to be freed
  std::size_t size;
};

// Not every system has aligned_alloc.
void* allocate(std::size_t size, std::size_t alignment) {
  count(size);
  std::size_t space = size + alignment;
  void* const memory = std::malloc(sizeof(Header) + space);
  if (memory == nullptr) throw std::bad_alloc();
  void* place = static_cast<char*>(memory) + sizeof(Header);
  std::align(alignment, size, place, space);
  const Header header{memory, size};
  std::memcpy(static_cast<char*>(place) - sizeof header, &header, sizeof header);
  return place;
}

void* allocate(std::size_t size) {
  if (kCountsBytes) return allocate(size, alignof(std::max_align_t));
  count(size);
  void* const memory = std::malloc(std::max<std::size_t>(size, 1));
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void release(void* place) noexcept {
  if (place == nullptr) return;
  Header header{};
  std::memcpy(&header, static_cast<char*>(place) - sizeof header, sizeof header);
  bytes -= static_cast<std::ptrdiff_t>(header.size);
  std::free(header.memory);
}

void releasePlain(void* place) noexcept { kCountsBytes ? release(place) : std::free(place); }

}  // namespace

std::size_t allocationCount() noexcept { return allocations; }

std::ptrdiff_t allocatedBytes() noexcept { return bytes; }

std::ptrdiff_t mostAllocatedBytes() noexcept { return std::exchange(mostBytes, bytes); }

void allowAllocations(std::size_t count) noexcept { allocationsLeft = count; }

void allowAllAllocations() noexcept { allocationsLeft = std::numeric_limits<std::size_t>::max(); }

void* operator new(std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { releasePlain(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { releasePlain(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept { release(memory); }
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept { release(memory); }
