#include "terminal/waiting.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <latch>
#include <mutex>
#include <sstream>

namespace {

/// Has `seconds` pass at once, tells, and waits for the stop.
NextSecond pass(int seconds, std::latch& passed) {
  return [left = seconds, &passed](const std::stop_token& stop) mutable {
    if (left-- > 0) return true;
    passed.count_down();
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock lock(mutex);
    never.wait(lock, stop, [] { return false; });
    return false;
  };
}

std::string showWait(int seconds) {
  std::ostringstream err;
  std::latch passed(1);
  Waiting waiting(&err, pass(seconds, passed));
  passed.wait();
  waiting.end();
  waiting.end();
  return err.str();
}

TEST(Waiting, IsNotToldInTheFirstSecond) { EXPECT_EQ(showWait(1), ""); }

TEST(Waiting, IsToldInALineThatIsWiped) { EXPECT_EQ(showWait(3), "\r2 s\r3 s\r                \r"); }

TEST(Waiting, IsToldNobodyWithoutAScreen) {
  Waiting waiting(nullptr, [](const std::stop_token&) -> bool { throw 1; });
  waiting.end();
}

TEST(Waiting, ForASecondEndsAtOnceWhenItIsStopped) {
  std::stop_source source;
  source.request_stop();
  EXPECT_FALSE(awaitSecond(source.get_token()));
}

}  // namespace
