#include "process_state.h"

// clang-format off
#include <windows.h>  // first: the other one needs it
#include <tlhelp32.h>
// clang-format on

#include <filesystem>
#include <stdexcept>
#include <vector>

namespace {

std::filesystem::path toPath(const std::string& path) {
  return std::filesystem::path(std::u8string(path.begin(), path.end())).make_preferred();
}

std::runtime_error systemError(const std::string& what) {
  return std::runtime_error(what + ": error " + std::to_string(GetLastError()));
}

std::size_t allocatedBytes(HANDLE heap) {
  std::size_t bytes = 0;
  PROCESS_HEAP_ENTRY entry{};
  HeapLock(heap);
  while (HeapWalk(heap, &entry) != 0) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
  }
  HeapUnlock(heap);
  return bytes;
}

std::size_t heapBytes() {
  std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
  heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
  std::size_t bytes = 0;
  for (HANDLE heap : heaps) bytes += allocatedBytes(heap);
  return bytes;
}

std::size_t handleCount() {
  DWORD count = 0;
  if (GetProcessHandleCount(GetCurrentProcess(), &count) == 0) throw systemError("the handles can't be counted");
  return count;
}

std::size_t threadCount() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  if (snapshot == INVALID_HANDLE_VALUE) throw systemError("the threads can't be listed");
  std::size_t count = 0;
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Thread32First(snapshot, &entry); more != 0; more = Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(snapshot);
  return count;
}

}  // namespace

LoadedLibrary::LoadedLibrary(const std::string& path) : handle_(LoadLibraryW(toPath(path).c_str())) {
  if (handle_ == nullptr) throw systemError(path + " can't be loaded");
}

LoadedLibrary::~LoadedLibrary() { FreeLibrary(static_cast<HMODULE>(handle_)); }

void* LoadedLibrary::findAddress(const char* symbol) const {
  const FARPROC address = GetProcAddress(static_cast<HMODULE>(handle_), symbol);
  if (address == nullptr) throw systemError(std::string("there is no ") + symbol);
  return reinterpret_cast<void*>(address);
}

bool isMapped(const std::string& path) { return GetModuleHandleW(toPath(path).filename().c_str()) != nullptr; }

Holdings currentHoldings() {
  const std::size_t handles = handleCount();
  const std::size_t threads = threadCount();
  return {.heapBytes = heapBytes(), .descriptors = handles, .threads = threads};
}

const bool kCountsStartedThreads = false;
std::size_t startedThreads() noexcept { return 0; }
