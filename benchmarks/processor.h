// Client and server on processors of their own. Left to the scheduler, one side's connection may share the client's
// processor and the other's not, which makes a factor of three.
#pragma once

#include <sched.h>
#include <unistd.h>

enum class Processor { First, Last };

/// Keeps the calling process, and the threads that it starts, on one processor; does nothing when there is but one.
inline void stayOn(Processor which) {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  if (count < 2) return;
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(which == Processor::First ? 0U : static_cast<unsigned>(count - 1), &set);
  sched_setaffinity(0, sizeof set, &set);
}
