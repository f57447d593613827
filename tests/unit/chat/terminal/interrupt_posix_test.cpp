#include "raise_interrupt.h"
#include "terminal/interrupt.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

void raiseInterrupt() { kill(getpid(), SIGINT); }

namespace {

TEST(Interrupts, StayIgnoredWhereTheyAre) {
  const auto earlier = std::signal(SIGINT, SIG_IGN);
  {
    Interrupts interrupts([] { FAIL() << "ignored"; });
    const bool interrupted = interrupts.run(
        [] {
          raiseInterrupt();
          sigset_t pending;
          do sigpending(&pending);
          while (sigismember(&pending, SIGINT) == 1);
        },
        [] { FAIL() << "ignored"; });
    EXPECT_FALSE(interrupted);
  }
  static_cast<void>(std::signal(SIGINT, earlier));
}

TEST(Interrupts, AreOnlyTakenOverWhileTheObjectLives) {
  {
    const Interrupts interrupts([] {});
  }
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGINT), 0);
}

}  // namespace
