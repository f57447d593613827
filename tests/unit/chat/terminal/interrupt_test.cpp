#include "terminal/interrupt.h"

#include "raise_interrupt.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <new>

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

TEST(Interrupts, AfterATurnThatThrewCallTheIdleAction) {
  std::promise<void> seen;
  Interrupts interrupts([&] { seen.set_value(); });
  EXPECT_THROW(interrupts.run([] { throw std::bad_alloc(); }, [] { FAIL() << "the turn is over"; }), std::bad_alloc);
  raiseInterrupt();
  EXPECT_EQ(seen.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

}  // namespace
