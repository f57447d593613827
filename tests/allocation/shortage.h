// Makes memory run out for one thread, at a chosen allocation, whoever asks: the library, the C++ runtime, libcurl,
// OpenSSL or the C library. A program that links this has malloc and its kin replaced.
#pragma once

#include <cstddef>
#include <string>

/// What follows the first allocation that fails.
enum class Shortage {
  Once,    // the next ones succeed again
  Lasting  // all fail, until the shortage ends
};

/// From now on the calling thread's allocations are counted and remembered; after `granted` of them memory runs out.
/// One thread at a time.
void beginShortage(Shortage kind, std::size_t granted) noexcept;

/// The same for all threads; blocks are not remembered.
void beginShortageEverywhere(Shortage kind, std::size_t granted) noexcept;

/// @return whether an allocation failed.
bool endShortage() noexcept;

/// How many allocations there were between the last beginning and its end, those that failed included.
std::size_t allocationsInShortage() noexcept;

/// Of the blocks that were allocated in between, those that nobody has freed, whichever thread.
std::size_t blocksLeft() noexcept;

/// Where the first allocation that failed was asked for: a line for each call, the outermost last.
std::string describeFirstRefusal();

/// From now on it is remembered of each block where it was allocated, which takes much longer.
void traceBlocks(bool on) noexcept;
/// Where the blocks that are left were allocated.
std::string describeBlocksLeft();
/// Whether the libraries below ours, libcurl and OpenSSL, lost all blocks that are left: each was allocated by them.
bool onlyForeignBlocksLeft();
