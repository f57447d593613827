// Counts the process's allocations. A program that links this has malloc and operator new replaced.
#pragma once

#include <cstddef>

struct MemoryCount {
  long news;         // calls of operator new: the library's and its foundation's
  long allocations;  // these and all of libcurl's, OpenSSL's and the C library's
  std::size_t peak;  // the most bytes that were live at once, above those at the beginning
};

/// Begins to count, on all threads.
void beginMemoryCount() noexcept;
MemoryCount endMemoryCount() noexcept;
