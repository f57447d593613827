#include "memory_meter.h"

#include <curl/curl.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

void meterCurl() {}
void beginMemoryMeter() noexcept {}
std::size_t endMemoryMeter() noexcept { return 0; }

#else

namespace {

thread_local long taken = 0;
thread_local long most = 0;

void* took(void* memory) {
  if (memory == nullptr) return nullptr;
  taken += static_cast<long>(malloc_usable_size(memory));
  most = std::max(most, taken);
  return memory;
}

void giveBack(void* memory) {
  if (memory != nullptr) taken -= static_cast<long>(malloc_usable_size(memory));
  std::free(memory);
}

void* allocate(std::size_t size) { return took(std::malloc(size)); }
void* allocateZeroed(std::size_t count, std::size_t size) { return took(std::calloc(count, size)); }

void* reallocate(void* memory, std::size_t size) {
  const long before = memory == nullptr ? 0 : static_cast<long>(malloc_usable_size(memory));
  void* larger = std::realloc(memory, size);
  if (larger != nullptr) taken -= before;
  return took(larger);
}

char* duplicate(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* copy = allocate(size);
  return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

void* allocateOrThrow(void* memory) {
  if (took(memory) == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(std::malloc(std::max<std::size_t>(size, 1))); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  return allocateOrThrow(std::aligned_alloc(step, (size + step - 1) / step * step));
}
void operator delete(void* memory) noexcept { giveBack(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { giveBack(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept { giveBack(memory); }
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept { giveBack(memory); }

void meterCurl() {
  if (curl_global_init_mem(CURL_GLOBAL_DEFAULT, allocate, giveBack, reallocate, duplicate, allocateZeroed) !=
      CURLE_OK) {
    throw std::runtime_error("libcurl does not start");
  }
}

void beginMemoryMeter() noexcept { taken = most = 0; }
std::size_t endMemoryMeter() noexcept { return static_cast<std::size_t>(most); }

#endif
