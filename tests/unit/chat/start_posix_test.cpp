// What a program settles for itself before it has a key in its memory.
#include "start.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(MemoryDumps, AreForbiddenByBothWays) {
  const pid_t child = fork();
  if (child == 0) {
    forbidMemoryDumps();
    rlimit cores{};
    const bool limited = getrlimit(RLIMIT_CORE, &cores) == 0 && cores.rlim_cur == 0 && cores.rlim_max == 0;
    _exit(limited && prctl(PR_GET_DUMPABLE) == 0 ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
