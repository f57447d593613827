// What depends on time, without waiting for it.
#include "rest_caller.h"
#include "shifted_clock.h"

#include <chrono>
#include <ostream>
#include <thread>

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

/// Leaves the client a moment to look at the clock, which it does when something comes and every half second.
void passSlowly(std::chrono::seconds time, std::chrono::milliseconds moment = 2ms) {
  std::this_thread::sleep_for(moment);
  passTime(time);
}

/// A model that takes its time is no fault, wherever its service stands meanwhile.
struct WaitCase {
  const char* name;
  std::string before;  // the minutes
  std::string again;   // every five seconds; "": nothing
  std::string after;
};
void PrintTo(const WaitCase& row, std::ostream* out) { *out << row.name; }
class PatientReply : public testing::TestWithParam<WaitCase> {};

TEST_P(PatientReply, IsAwaitedForMinutes) {
  raw::Script script{raw::Send{GetParam().before}};
  if (GetParam().again.empty()) script.insert(script.end(), 3, raw::Call{[] { passSlowly(80s, 600ms); }});
  for (int i = 0; i < 48 && !GetParam().again.empty(); ++i) {
    script.emplace_back(raw::Call{[] { passSlowly(5s); }});
    script.emplace_back(raw::Send{GetParam().again});
  }
  script.emplace_back(raw::Send{GetParam().after});
  RawServer server({script});
  const RestResult outcome = RestCaller{}.get(server.getURL());
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

/// A reply that has begun comes, wherever it stands.
struct DripCase {
  const char* name;
  std::string start;
  std::string again;  // every second
};
void PrintTo(const DripCase& row, std::ostream* out) { *out << row.name; }
class DrippingReply : public testing::TestWithParam<DripCase> {};

TEST_P(DrippingReply, IsGivenUpAfterAMinute) {
  raw::Script script{raw::Send{GetParam().start}};
  for (int i = 0; i < 1000; ++i) {
    script.emplace_back(raw::Call{[] { passSlowly(1s); }});
    script.emplace_back(raw::Send{GetParam().again});
  }
  script.emplace_back(raw::Close{});
  RawServer server({script});
  RestCaller caller;
  caller.settings.totalTimeout = 0s;
  caller.settings.lowSpeedTime = 24h;  // of libcurl's own limit
  expectFailure(caller.get(server.getURL()), CFRestError::TimedOut,
                "The connection to " + nameOf(server) + " was too slow for 60 s");
}

INSTANTIATE_TEST_SUITE_P(Places, DrippingReply,
                         testing::Values(DripCase{"in_the_status_line", "HTTP/1.1 200 ", "O"},
                                         DripCase{"in_a_header_line", "HTTP/1.1 200 OK\r\nX: ", "y"},
                                         DripCase{"in_the_body", "HTTP/1.1 200 OK\r\nContent-Length: 20000\r\n\r\n{",
                                                  " "},
                                         DripCase{"in_a_chunk", kChunks + "fff\r\n{", " "},
                                         DripCase{"in_chunks_of_a_byte", kChunks + "1\r\n{\r\n", "1\r\n \r\n"},
                                         DripCase{"in_a_trailer", kChunks + "2\r\n{}\r\n0\r\nX: ", "y"},
                                         DripCase{"in_trailers", kChunks + "2\r\n{}\r\n0\r\n", "X: y\r\n"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
