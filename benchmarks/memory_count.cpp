#include "memory_count.h"

#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

// glibc's own, under the names that are left when malloc is replaced.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker gives the names
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

std::atomic<bool> counting = false;
std::atomic<long> news = 0;
std::atomic<long> allocations = 0;
std::atomic<std::ptrdiff_t> live = 0;
std::atomic<std::ptrdiff_t> peak = 0;

void take(void* memory) noexcept {
  if (memory == nullptr || !counting) return;
  ++allocations;
  const auto now = live += static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
  for (auto most = peak.load(); now > most && !peak.compare_exchange_weak(most, now);) continue;
}

void giveBack(void* memory) noexcept {
  if (memory != nullptr && counting) live -= static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
}

void* allocateNew(std::size_t size) {
  if (counting) ++news;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept {
  void* memory = __libc_malloc(size);
  take(memory);
  return memory;
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  void* memory = __libc_calloc(count, size);
  take(memory);
  return memory;
}

// Old and new are counted as live together, as they are when the bytes are copied.
void* realloc(void* memory, std::size_t size) noexcept {
  const std::size_t before = memory == nullptr ? 0 : malloc_usable_size(memory);
  void* moved = __libc_realloc(memory, size);
  if (moved == nullptr) return nullptr;
  take(moved);
  if (counting) live -= static_cast<std::ptrdiff_t>(before);
  return moved;
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  void* memory = __libc_memalign(alignment, size);
  take(memory);
  return memory;
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept { return memalign(alignment, size); }

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
  *memory = memalign(alignment, size);
  return *memory == nullptr ? ENOMEM : 0;
}

void free(void* memory) noexcept {
  giveBack(memory);
  __libc_free(memory);
}

}  // extern "C"

void* operator new(std::size_t size) { return allocateNew(size); }
void* operator new[](std::size_t size) { return allocateNew(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

void beginMemoryCount() noexcept {
  news = 0;
  allocations = 0;
  live = 0;
  peak = 0;
  counting = true;
}

MemoryCount endMemoryCount() noexcept {
  counting = false;
  return {news, allocations, static_cast<std::size_t>(peak.load())};
}
