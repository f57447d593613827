// Makes allocations of the calling thread fail. A program that links this has the C++ allocation replaced.
#pragma once

enum class Shortage { None, Once, FromThenOn };

/// Has libcurl's allocations fail too; before anything else uses libcurl.
bool extendMemoryShortageToCurl();

/// Lets `granted` allocations succeed; after them, one or all fail.
void beginMemoryShortage(Shortage kind, long granted) noexcept;

/// @return whether an allocation failed.
bool endMemoryShortage() noexcept;

/// How many allocations the thread has made since the last shortage began, until the first that failed.
long countGranted() noexcept;
