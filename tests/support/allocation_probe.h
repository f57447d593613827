// Counts the calling thread's allocations, by operator new and, where it is asked to, by libcurl, and makes them fail
// at will. A program that links this has operator new replaced.
#pragma once

#include <cstddef>

/// Has libcurl's allocations counted and refused, too; before anything uses libcurl.
/// @return whether libcurl takes its memory from here.
bool extendProbeToCurl();

/// The number of allocations by operator new so far, and of libcurl's.
std::size_t allocationCount() noexcept;
std::size_t curlAllocationCount() noexcept;

/// What all took less what was given back.
std::ptrdiff_t allocatedBytes() noexcept;
/// The most that this was since the last call.
std::ptrdiff_t mostAllocatedBytes() noexcept;

/// What follows the first allocation that fails.
enum class Shortage {
  Once,       // the next ones succeed again
  FromThenOn  // all fail
};

/// Lets `count` more allocations succeed; after them, one or all fail (by operator new with std::bad_alloc).
void allowAllocations(std::size_t count, Shortage kind = Shortage::FromThenOn) noexcept;

/// Lets all allocations succeed again. @return whether one has failed since allowAllocations.
bool allowAllAllocations() noexcept;

// For the file that asks libcurl.

/// Whether one more may be made; counted then.
bool takeCurlAllocation() noexcept;
/// Counts the bytes of a new block of malloc's; passes it on, null as well.
void* countBlock(void* block) noexcept;
void forgetBlock(void* block) noexcept;
