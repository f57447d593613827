#include "interrupt.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include <future>

namespace {

TEST(Interrupts, DuringATurnCallItsCancel) {
  Interrupts interrupts([] { FAIL() << "not idle"; });
  std::promise<void> cancelled;
  const bool interrupted = interrupts.run(
      [&] {
        kill(getpid(), SIGINT);
        cancelled.get_future().wait();
      },
      [&] { cancelled.set_value(); });
  EXPECT_TRUE(interrupted);
}

TEST(Interrupts, OutsideATurnCallTheIdleAction) {
  std::promise<void> seen;
  Interrupts interrupts([&] { seen.set_value(); });
  EXPECT_FALSE(interrupts.run([] {}, [] { FAIL() << "the turn is over"; }));
  kill(getpid(), SIGINT);
  seen.get_future().wait();
}

TEST(Interrupts, StayIgnoredWhereTheyAre) {
  const auto earlier = std::signal(SIGINT, SIG_IGN);
  {
    Interrupts interrupts([] { FAIL() << "ignored"; });
    const bool interrupted = interrupts.run(
        [] {
          kill(getpid(), SIGINT);
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
