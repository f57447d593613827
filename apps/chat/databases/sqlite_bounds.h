// What reading a file's structure may cost. A view of a few bytes can stand for millions of others, and SQLite 3.40
// heeds neither its progress handler nor an interrupt while it works out the columns.
#pragma once

#include <sqlite3.h>

#include <chrono>

/// Bounds the memory of each reading, and the time of those together that take much of it; the others take time in
/// proportion to the file's size. SQLite keeps count for the whole process, so one connection is read at a time.
class SqliteBounds {
 public:
  using Clock = std::chrono::steady_clock;

  /// `time` is for all the readings that take much memory.
  explicit SqliteBounds(Clock::duration time) : left_(time) {}

  /// One reading, while it lives. Beyond its memory SQLite gives SQLITE_NOMEM.
  class Reading {
   public:
    explicit Reading(SqliteBounds& bounds);
    ~Reading();
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

   private:
    SqliteBounds& bounds_;
    Clock::time_point start_ = Clock::now();
    sqlite3_int64 memory_ = sqlite3_memory_used();
    sqlite3_int64 soft_ = sqlite3_soft_heap_limit64(-1);
    sqlite3_int64 hard_;
  };

  /// Whether the bound, and not the machine, may have kept memory from the last reading.
  bool wereTight() const { return tight_; }
  /// Whether the time is used up.
  bool areReached() const { return left_.count() <= 0; }

 private:
  Clock::duration left_;
  bool tight_ = false;
};
