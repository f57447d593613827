#include "shifted_clock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace {
std::atomic<long> shiftMilliseconds{0};
}

void passTime(std::chrono::milliseconds time) noexcept { shiftMilliseconds += static_cast<long>(time.count()); }

// In place of the C library's, for all who call it.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept {
  constexpr long kNanoseconds = 1'000'000'000;
  if (syscall(SYS_clock_gettime, clock, time) != 0) return -1;
  if (clock == CLOCK_REALTIME) return 0;  // certificates are of today
  const long shift = shiftMilliseconds;
  time->tv_sec += shift / 1000;
  time->tv_nsec += shift % 1000 * 1'000'000;
  if (time->tv_nsec >= kNanoseconds) {
    ++time->tv_sec;
    time->tv_nsec -= kNanoseconds;
  }
  return 0;
}
