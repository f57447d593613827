#include "interrupt.h"

#include "raise_interrupt.h"

#include <gtest/gtest.h>

#include <future>

namespace {

TEST(Interrupts, DuringATurnCallItsCancel) {
  Interrupts interrupts([] { FAIL() << "not idle"; });
  std::promise<void> cancelled;
  const bool interrupted = interrupts.run(
      [&] {
        raiseInterrupt();
        cancelled.get_future().wait();
      },
      [&] { cancelled.set_value(); });
  EXPECT_TRUE(interrupted);
}

TEST(Interrupts, OutsideATurnCallTheIdleAction) {
  std::promise<void> seen;
  Interrupts interrupts([&] { seen.set_value(); });
  EXPECT_FALSE(interrupts.run([] {}, [] { FAIL() << "the turn is over"; }));
  raiseInterrupt();
  seen.get_future().wait();
}

}  // namespace
