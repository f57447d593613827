// What depends on time, without waiting for it.
#include "rest_caller.h"
#include "shifted_clock.h"

#include <chrono>

namespace {

using namespace std::chrono_literals;

class Idle : public testing::Test {
 protected:
  Idle() { caller_.session.httpPoolCenter = pool_.get(); }

  RawServer server_{raw::reply(200, "{}")};
  const std::unique_ptr<ICSHTTPPoolCenter> pool_{CF::createHTTPPoolCenter()};
  RestCaller caller_;
};

// Balancers and routers that drop an idle connection without a word do so after a minute at the earliest.
TEST_F(Idle, ConnectionServesForLessThanAMinute) {
  for (const auto pause : {0s, 40s, 49s}) {
    passTime(pause);
    EXPECT_EQ(caller_.get(server_.getURL()).code, 0);
    EXPECT_EQ(server_.getConnections(), 1U) << pause.count();
  }
  passTime(55s);
  EXPECT_EQ(caller_.get(server_.getURL()).code, 0);
  EXPECT_EQ(server_.getConnections(), 2U);
}

TEST_F(Idle, ConnectionWithAKeptHandleIsReplacedToo) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ(caller_.get(server_.getURL()).code, 0);
  passTime(55s);
  EXPECT_EQ(caller_.get(server_.getURL()).code, 0);
  EXPECT_EQ(server_.getConnections(), 2U);
}

}  // namespace
