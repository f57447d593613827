#include "support/heap.h"

#include <malloc.h>

void* allocateAligned(std::size_t size, std::size_t alignment) noexcept { return _aligned_malloc(size, alignment); }
void freeAligned(void* block) noexcept { _aligned_free(block); }

std::size_t usableSize(void* block) noexcept { return _msize(block); }
std::size_t usableAlignedSize(void* block, std::size_t alignment) noexcept {
  return _aligned_msize(block, alignment, 0);
}
