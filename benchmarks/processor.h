// Client and server on processors of their own. Left to the scheduler, one side's connection may share the client's
// processor and the other's not, which makes a factor of three.
#pragma once

#include <sched.h>
#include <unistd.h>

inline unsigned countProcessors() { return static_cast<unsigned>(sysconf(_SC_NPROCESSORS_ONLN)); }

/// Keeps the calling thread, and those that it starts later, on one processor.
inline void stayOnProcessor(unsigned number) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(number, &set);
  sched_setaffinity(0, sizeof set, &set);
}

inline void stayOnClientsProcessor() { stayOnProcessor(0); }
inline void stayOnServersProcessor() { stayOnProcessor(countProcessors() - 1); }
