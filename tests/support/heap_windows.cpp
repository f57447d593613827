#include "support/heap.h"

#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

/// What malloc gave for an aligned block, in front of which it stands.
void* wholeOf(void* block) noexcept {
  void* whole = nullptr;
  std::memcpy(&whole, static_cast<char*>(block) - sizeof whole, sizeof whole);
  return whole;
}

}  // namespace

// The oldest C library of the system tells the size of no block of its own _aligned_malloc.
void* allocateAligned(std::size_t size, std::size_t alignment) noexcept {
  std::size_t room = size + alignment;
  void* const whole = std::malloc(sizeof(void*) + room);
  if (whole == nullptr) return nullptr;
  void* block = static_cast<char*>(whole) + sizeof whole;
  std::align(alignment, size, block, room);
  std::memcpy(static_cast<char*>(block) - sizeof whole, &whole, sizeof whole);
  return block;
}
void freeAligned(void* block) noexcept { std::free(wholeOf(block)); }

std::size_t usableSize(void* block) noexcept { return _msize(block); }
std::size_t usableAlignedSize(void* block, std::size_t /*alignment*/) noexcept { return _msize(wholeOf(block)); }
