// The system's heap, as far as it differs.
#pragma once

#include <cstddef>

/// Null without memory. Freed by freeAligned, which on Windows is not free.
void* allocateAligned(std::size_t size, std::size_t alignment) noexcept;
void freeAligned(void* block) noexcept;

/// The bytes of a block of malloc's, at least those that were asked for.
std::size_t usableSize(void* block) noexcept;
std::size_t usableAlignedSize(void* block, std::size_t alignment) noexcept;
