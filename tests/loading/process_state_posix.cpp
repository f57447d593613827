#include "process_state.h"

#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

std::atomic<std::size_t> started{0};

std::size_t entriesOf(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::size_t heapBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return 0;  // the sanitizer itself keeps something of each load, and looks for leaks when the program ends
#else
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
#endif
}

}  // namespace

// Every library of the process calls this one in place of the system's, because the program comes first.
extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*run)(void*), void* argument) {
  static const auto next = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  ++started;
  return next(thread, attributes, run, argument);
}

LoadedLibrary::LoadedLibrary(const std::string& path) : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) throw std::runtime_error(dlerror());
}

LoadedLibrary::~LoadedLibrary() { dlclose(handle_); }

void* LoadedLibrary::findAddress(const char* symbol) const {
  void* address = dlsym(handle_, symbol);
  if (address == nullptr) throw std::runtime_error(dlerror());
  return address;
}

bool isMapped(const std::string& path) {
  const std::string name = std::filesystem::canonical(path).string();
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with(name)) return true;
  }
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

Holdings currentHoldings() {
  // Reading a folder takes memory and a descriptor for a moment.
  const std::size_t descriptors = entriesOf("/proc/self/fd");
  const std::size_t threads = entriesOf("/proc/self/task");
  return {.heapBytes = heapBytes(), .descriptors = descriptors, .threads = threads};
}

const bool kCountsStartedThreads = true;
std::size_t startedThreads() noexcept { return started; }
