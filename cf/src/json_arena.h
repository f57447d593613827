// Where a JSON document's values and texts lie.
#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

/// Memory that is given back all at once. std::pmr's would do, but its chunks grow without end: the large ones come
/// from the system for each document anew, which costs more time than to fill them.
class JsonArena {
 public:
  /// @param firstChunk its size. Each later chunk is twice as large as the one before, up to kLargestChunk.
  explicit JsonArena(std::size_t firstChunk) noexcept : nextChunk_(std::min(firstChunk, kLargestChunk)) {}
  JsonArena(const JsonArena&) = delete;
  JsonArena& operator=(const JsonArena&) = delete;
  ~JsonArena() { release(); }

  /// Room for `count` things, none of which is constructed. None is destroyed either.
  template <typename Thing>
  Thing* allocate(std::size_t count) {
    static_assert(alignof(Thing) <= kAlignment);
    // NOLINTNEXTLINE(bugprone-sizeof-expression): some lists are of pointers
    const std::size_t size = (count * sizeof(Thing) + kAlignment - 1) / kAlignment * kAlignment;
    if (size > left_) return static_cast<Thing*>(allocateInNewChunk(size));
    left_ -= size;
    return static_cast<Thing*>(static_cast<void*>(std::exchange(next_, next_ + size)));
  }

  /// Makes the newest chunk, the largest but for odd ones, the only one, and empty: for what comes next. Nothing that
  /// was allocated may be in use any more.
  void reuse() noexcept {
    if (chunks_ == nullptr) return;
    while (chunks_->before != nullptr) ::operator delete(std::exchange(chunks_->before, chunks_->before->before));
    next_ = reinterpret_cast<std::byte*>(chunks_ + 1);
    left_ = chunks_->size;
  }

  /// Nothing that was allocated may be in use any more.
  void release() noexcept {
    while (chunks_ != nullptr) ::operator delete(std::exchange(chunks_, chunks_->before));
    left_ = 0;
  }

 private:
  static constexpr std::size_t kAlignment = 8;
  static constexpr std::size_t kLargestChunk = std::size_t{1} << 20;

  struct Chunk {
    Chunk* before;
    std::size_t size;
  };

  void* allocateInNewChunk(std::size_t size) {
    const std::size_t chunkSize = std::max(size, nextChunk_);
    nextChunk_ = std::min(2 * nextChunk_, kLargestChunk);
    chunks_ = ::new (::operator new(sizeof(Chunk) + chunkSize)) Chunk{chunks_, chunkSize};
    auto* const place = reinterpret_cast<std::byte*>(chunks_ + 1);
    if (chunkSize - size > left_) {  // else what is left of the chunk before is of more use
      next_ = place + size;
      left_ = chunkSize - size;
    }
    return place;
  }

  Chunk* chunks_ = nullptr;  // the newest
  std::byte* next_ = nullptr;
  std::size_t left_ = 0;
  std::size_t nextChunk_;
};
