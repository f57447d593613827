#include "memory_shortage.h"

#include <curl/curl.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

thread_local Shortage shortage = Shortage::None;
thread_local long grants = 0;  // below 0 when an allocation has failed
thread_local long grantsAtFirst = 0;

bool isRefused() {
  if (shortage == Shortage::None || grants-- > 0) return false;
  if (shortage == Shortage::Once) shortage = Shortage::None;
  return true;
}

void* allocate(std::size_t size) { return isRefused() ? nullptr : std::malloc(size); }
void* reallocate(void* memory, std::size_t size) { return isRefused() ? nullptr : std::realloc(memory, size); }
void* allocateZeroed(std::size_t count, std::size_t size) { return isRefused() ? nullptr : std::calloc(count, size); }

char* duplicate(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* copy = allocate(size);
  return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* memory = allocate(size == 0 ? 1 : size); memory != nullptr) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

bool extendMemoryShortageToCurl() {
  return curl_global_init_mem(CURL_GLOBAL_DEFAULT, allocate, std::free, reallocate, duplicate, allocateZeroed) ==
         CURLE_OK;
}

void beginMemoryShortage(Shortage kind, long granted) noexcept {
  grants = grantsAtFirst = granted;
  shortage = kind;
}

bool endMemoryShortage() noexcept {
  shortage = Shortage::None;
  return grants < 0;
}

long countGranted() noexcept { return grants < 0 ? grantsAtFirst : grantsAtFirst - grants; }
