#include "support/heap.h"

#include <malloc.h>

#include <cstdlib>

void* allocateAligned(std::size_t size, std::size_t alignment) noexcept {
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}
void freeAligned(void* block) noexcept { std::free(block); }

std::size_t usableSize(void* block) noexcept { return malloc_usable_size(block); }
std::size_t usableAlignedSize(void* block, std::size_t /*alignment*/) noexcept { return malloc_usable_size(block); }
