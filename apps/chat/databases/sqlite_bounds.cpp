#include "databases/sqlite_bounds.h"

namespace {

// A view of a hundred others takes some hundred KiB.
constexpr sqlite3_int64 kMostMemory = sqlite3_int64{32} << 20U;
constexpr sqlite3_int64 kUsualMemory = sqlite3_int64{64} << 10U;

/// The most since the last reset, which this is when it says so.
sqlite3_int64 findMost(int status, bool resets) {
  sqlite3_int64 now = 0;
  sqlite3_int64 most = 0;
  sqlite3_status64(status, &now, &most, resets ? 1 : 0);
  return most;
}

}  // namespace

SqliteBounds::Reading::Reading(SqliteBounds& bounds)
    : bounds_(bounds), hard_(sqlite3_hard_heap_limit64(memory_ + kMostMemory)) {
  findMost(SQLITE_STATUS_MEMORY_USED, true);
  findMost(SQLITE_STATUS_MALLOC_SIZE, true);
}

SqliteBounds::Reading::~Reading() {
  sqlite3_hard_heap_limit64(hard_);
  sqlite3_soft_heap_limit64(soft_);  // which the hard one has lowered
  const sqlite3_int64 taken = findMost(SQLITE_STATUS_MEMORY_USED, false) - memory_;
  bounds_.tight_ = taken + findMost(SQLITE_STATUS_MALLOC_SIZE, false) >= kMostMemory;
  if (taken > kUsualMemory) bounds_.left_ -= Clock::now() - start_;
}
