// Stands in a file of its own so that no compiler sees the bodies where they are called: it would warn of memory from
// new that goes to free.
#include "support/allocation_probe.h"

#include "support/heap.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

thread_local std::size_t news = 0;
thread_local std::size_t curls = 0;
thread_local std::size_t left = kAll;
thread_local Shortage kindOfShortage = Shortage::FromThenOn;
thread_local bool failed = false;
thread_local std::ptrdiff_t bytes = 0;
thread_local std::ptrdiff_t mostBytes = 0;

bool take(std::size_t& count) noexcept {
  const bool isDue = left == 0 && (kindOfShortage == Shortage::FromThenOn || !failed);
  if (isDue) {
    failed = true;
    return false;
  }
  if (left != 0 && left != kAll) --left;
  ++count;
  return true;
}

void add(std::size_t size) noexcept {
  bytes += static_cast<std::ptrdiff_t>(size);
  mostBytes = std::max(mostBytes, bytes);
}

}  // namespace

bool takeCurlAllocation() noexcept { return take(curls); }

void* countBlock(void* block) noexcept {
  if (block != nullptr) add(usableSize(block));
  return block;
}

void forgetBlock(void* block) noexcept {
  if (block != nullptr) bytes -= static_cast<std::ptrdiff_t>(usableSize(block));
}

std::size_t allocationCount() noexcept { return news; }

std::size_t curlAllocationCount() noexcept { return curls; }

std::ptrdiff_t allocatedBytes() noexcept { return bytes; }

std::ptrdiff_t mostAllocatedBytes() noexcept { return std::exchange(mostBytes, bytes); }

void allowAllocations(std::size_t count, Shortage kind) noexcept {
  left = count;
  kindOfShortage = kind;
  failed = false;
}

bool allowAllAllocations() noexcept {
  left = kAll;
  return std::exchange(failed, false);
}

void* operator new(std::size_t size) {
  void* const block = take(news) ? countBlock(std::malloc(std::max<std::size_t>(size, 1))) : nullptr;
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  void* const block = take(news) ? allocateAligned(std::max<std::size_t>(size, 1), step) : nullptr;
  if (block == nullptr) throw std::bad_alloc();
  add(usableAlignedSize(block, step));
  return block;
}

void operator delete(void* block) noexcept {
  forgetBlock(block);
  std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept { operator delete(block); }

void operator delete(void* block, std::align_val_t alignment) noexcept {
  if (block == nullptr) return;
  bytes -= static_cast<std::ptrdiff_t>(usableAlignedSize(block, static_cast<std::size_t>(alignment)));
  freeAligned(block);
}
void operator delete(void* block, std::size_t /*size*/, std::align_val_t alignment) noexcept {
  operator delete(block, alignment);
}
