// Counts the calling thread's allocations by operator new, and makes them fail at will.
#pragma once

#include <cstddef>

/// The number of allocations so far.
std::size_t allocationCount() noexcept;

/// Lets `count` more allocations succeed and all later ones throw std::bad_alloc.
void allowAllocations(std::size_t count) noexcept;

/// Lets all allocations succeed again.
void allowAllAllocations() noexcept;
