// What work for others may cost. A view of a few bytes can stand for millions of others, and SQLite 3.40 heeds neither
// its progress handler nor an interrupt while it works out the columns.
#pragma once

#include <sqlite3.h>

#include <chrono>

/// A view of a hundred others takes some hundred KiB.
inline constexpr sqlite3_int64 kMostMemoryToPrepare = sqlite3_int64{32} << 20U;

/// While it lives, SQLite takes at most `bytes` more and gives SQLITE_NOMEM beyond. SQLite keeps count for the whole
/// process, so one lives at a time.
class SqliteHeapLimit {
 public:
  explicit SqliteHeapLimit(sqlite3_int64 bytes);
  ~SqliteHeapLimit();
  SqliteHeapLimit(const SqliteHeapLimit&) = delete;
  SqliteHeapLimit& operator=(const SqliteHeapLimit&) = delete;

  /// The most bytes that were in use at a time.
  sqlite3_int64 taken() const;
  /// Whether the limit, and not the machine, may have kept memory from what went on.
  bool wasTight() const;

 private:
  sqlite3_int64 bytes_;
  sqlite3_int64 memory_ = sqlite3_memory_used();
  sqlite3_int64 soft_ = sqlite3_soft_heap_limit64(-1);
  sqlite3_int64 hard_;
};

/// Bounds the memory of each reading of a structure, and the time of those together that take much of it; the others
/// take time in proportion to the file's size.
class SqliteBounds {
 public:
  using Clock = std::chrono::steady_clock;

  /// `time` is for all the readings that take much memory.
  explicit SqliteBounds(Clock::duration time) : left_(time) {}

  /// One reading, while it lives.
  class Reading {
   public:
    explicit Reading(SqliteBounds& bounds) : bounds_(bounds) {}
    ~Reading();
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

   private:
    SqliteBounds& bounds_;
    Clock::time_point start_ = Clock::now();
    SqliteHeapLimit heap_{kMostMemoryToPrepare};
  };

  /// Whether the bound, and not the machine, may have kept memory from the last reading.
  bool wereTight() const { return tight_; }
  /// Whether the time is used up.
  bool areReached() const { return left_.count() <= 0; }

 private:
  Clock::duration left_;
  bool tight_ = false;
};
