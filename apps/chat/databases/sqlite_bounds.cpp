#include "databases/sqlite_bounds.h"

namespace {

constexpr sqlite3_int64 kUsualMemory = sqlite3_int64{64} << 10U;

/// The most since the last reset, which this is when it says so.
sqlite3_int64 findMost(int status, bool resets) {
  sqlite3_int64 now = 0;
  sqlite3_int64 most = 0;
  sqlite3_status64(status, &now, &most, resets ? 1 : 0);
  return most;
}

}  // namespace

SqliteHeapLimit::SqliteHeapLimit(sqlite3_int64 bytes)
    : bytes_(bytes), hard_(sqlite3_hard_heap_limit64(memory_ + bytes)) {
  findMost(SQLITE_STATUS_MEMORY_USED, true);
  findMost(SQLITE_STATUS_MALLOC_SIZE, true);
}

SqliteHeapLimit::~SqliteHeapLimit() {
  sqlite3_hard_heap_limit64(hard_);
  sqlite3_soft_heap_limit64(soft_);  // which the hard one has lowered
}

sqlite3_int64 SqliteHeapLimit::taken() const { return findMost(SQLITE_STATUS_MEMORY_USED, false) - memory_; }

bool SqliteHeapLimit::wasTight() const { return taken() + findMost(SQLITE_STATUS_MALLOC_SIZE, false) >= bytes_; }

SqliteBounds::Reading::~Reading() {
  bounds_.tight_ = heap_.wasTight();
  if (heap_.taken() > kUsualMemory) bounds_.left_ -= Clock::now() - start_;
}
