// Counts the calling thread's allocations by operator new, and makes them fail at will.
#pragma once

#include <cstddef>

/// The number of allocations so far.
std::size_t allocationCount() noexcept;

/// What they took less what was given back, by this thread as well; with COUNT_BYTES alone.
std::ptrdiff_t allocatedBytes() noexcept;

/// The most that this was since the last call.
std::ptrdiff_t mostAllocatedBytes() noexcept;

/// Lets `count` more allocations succeed and all later ones throw std::bad_alloc.
void allowAllocations(std::size_t count) noexcept;

/// Lets all allocations succeed again.
void allowAllAllocations() noexcept;
