// Counts the program's allocations, and makes them fail at will. For programs of one thread.
#pragma once

#include <cstddef>

/// The number of allocations so far.
std::size_t allocationCount() noexcept;

/// Lets `count` more allocations succeed and all later ones throw std::bad_alloc.
void allowAllocations(std::size_t count) noexcept;

/// Lets all allocations succeed again.
void allowAllAllocations() noexcept;
