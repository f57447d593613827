// What a process has loaded and what it holds, asked of the system.
#pragma once

#include <cstddef>
#include <string>

/// A library that is loaded at run time; destroying it unloads the library.
class LoadedLibrary {
 public:
  /// @throw std::runtime_error when the library at `path` cannot be loaded.
  explicit LoadedLibrary(const std::string& path);
  ~LoadedLibrary();
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  /// The exported function `symbol`. @throw std::runtime_error when there is none.
  template <class Function>
  Function find(const char* symbol) const {
    return reinterpret_cast<Function>(findAddress(symbol));
  }

 private:
  void* findAddress(const char* symbol) const;

  void* handle_;
};

/// Whether the library at `path` is mapped into the process.
bool isMapped(const std::string& path);

struct Holdings {
  std::size_t heapBytes;    // allocated and not freed; 0 where that cannot be told
  std::size_t descriptors;  // open ones: files and sockets; on Windows all handles
  std::size_t threads;      // running now
};
Holdings currentHoldings();

/// The threads that the process started since it began, ended ones included. On Windows, where the system starts
/// threads of its own, always 0.
std::size_t startedThreads() noexcept;
/// Whether startedThreads() counts.
extern const bool kCountsStartedThreads;
