#include "support/allocation_probe.h"

#include <curl/curl.h>

#include <cstdlib>
#include <cstring>

namespace {

void* allocate(std::size_t size) { return takeCurlAllocation() ? countBlock(std::malloc(size)) : nullptr; }

void* allocateZeroed(std::size_t count, std::size_t size) {
  return takeCurlAllocation() ? countBlock(std::calloc(count, size)) : nullptr;
}

void release(void* block) {
  forgetBlock(block);
  std::free(block);
}

void* reallocate(void* block, std::size_t size) {
  if (!takeCurlAllocation()) return nullptr;
  forgetBlock(block);
  void* const moved = std::realloc(block, size);
  if (moved == nullptr) countBlock(block);
  return countBlock(moved);
}

char* duplicate(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* const copy = allocate(size);
  return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

}  // namespace

bool extendProbeToCurl() {
  return curl_global_init_mem(CURL_GLOBAL_DEFAULT, allocate, release, reallocate, duplicate, allocateZeroed) ==
         CURLE_OK;
}
