// What depends on time, without waiting for it.
#include "rest_caller.h"
#include "shifted_clock.h"

#include <chrono>
#include <ostream>

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

/// A model that takes its time is no fault, wherever its service stands meanwhile.
struct WaitCase {
  const char* name;
  std::string before;  // the minutes
  std::string again;   // every five seconds
  std::string after;
};
void PrintTo(const WaitCase& row, std::ostream* out) { *out << row.name; }
class PatientReply : public testing::TestWithParam<WaitCase> {};

TEST_P(PatientReply, IsAwaitedForMinutes) {
  raw::Script script{raw::Send{GetParam().before}};
  for (int i = 0; i < 48; ++i) {
    script.emplace_back(raw::Call{[] { passTime(5s); }});
    if (!GetParam().again.empty()) script.emplace_back(raw::Send{GetParam().again});
  }
  script.emplace_back(raw::Send{GetParam().after});
  RawServer server({script});
  const Outcome outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 0) << outcome.text;
  ASSERT_NE(outcome.response, nullptr);
  EXPECT_NE(outcome.response->getJson(), nullptr);
}

const std::string kChunks = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

INSTANTIATE_TEST_SUITE_P(
    Places, PatientReply,
    testing::Values(WaitCase{"before_the_first_byte", "", "", raw::reply(200, "{}")},
                    WaitCase{"behind_the_header", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n", "", "{}"},
                    WaitCase{"with_interim_replies", "", "HTTP/1.1 102 Processing\r\n\r\n", raw::reply(200, "{}")},
                    WaitCase{"with_blank_lines", kChunks, "1\r\n\n\r\n", "2\r\n{}\r\n0\r\n\r\n"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
