// The memory that the calling thread takes: the library's own and libcurl's.
#pragma once

#include <cstddef>

/// Counts libcurl's memory too; before anything uses libcurl.
void meterCurl();

/// Begins to measure.
void beginMemoryMeter() noexcept;

/// The most that was taken at a time since then, beyond what there was; always 0 under a sanitizer, which allocates
/// itself.
std::size_t endMemoryMeter() noexcept;
