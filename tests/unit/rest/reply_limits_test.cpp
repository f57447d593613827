// How long a reply may take, and how much it may be.
#include "rest_caller.h"

#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;
using raw::Send;
using raw::SendForever;
using raw::Stall;

const std::string kHead = "HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n";

class StalledReply : public testing::TestWithParam<std::string> {};

TEST_P(StalledReply, EndsAtTheTotalLimit) {
  RawServer server({{Send{GetParam()}, Stall{}}});
  RestCaller caller;
  caller.settings.totalTimeout = 300ms;
  const auto begin = std::chrono::steady_clock::now();
  expectFailure(caller.get(server.getURL()), CFRestError::TimedOut,
                "No reply from " + nameOf(server) + " within 0.3 s");
  const auto time = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(time, 290ms);
  EXPECT_LT(time, 1300ms);
}

INSTANTIATE_TEST_SUITE_P(Places, StalledReply, testing::Values("", "HTTP/1.1 200 OK\r\nX: y\r\n", kHead + "{}"));

TEST(LimitedReply, ThatCrawlsIsGivenUp) {
  RawServer server({{Send{kHead}, Stall{}}});
  RestCaller caller;
  caller.settings.lowSpeedBytes = 1000;
  caller.settings.lowSpeedTime = 1s;
  expectFailure(caller.get(server.getURL()), CFRestError::TimedOut,
                "The connection to " + nameOf(server) + " was too slow for 1 s");
}

// The bytes are more than libcurl asks for.
TEST(LimitedReply, ThatDripsIsGivenUp) {
  raw::Script script{Send{"HTTP/1.1 200 OK\r\nContent-Length: 20000\r\n\r\n{"}};
  for (int i = 0; i < 200; ++i) {
    script.emplace_back(raw::Call{[] { std::this_thread::sleep_for(20ms); }});
    script.emplace_back(Send{" "});
  }
  RawServer server({script});
  RestCaller caller;
  caller.settings.lowSpeedTime = 1s;
  expectFailure(caller.get(server.getURL()), CFRestError::TimedOut,
                "The connection to " + nameOf(server) + " was too slow for 1 s");
}

// Header fields are counted in whichever part of a reply they come.
struct FieldsCase {
  const char* name;
  std::string start;
  std::string again;
};
class EndlessFields : public testing::TestWithParam<FieldsCase> {};

TEST_P(EndlessFields, AreCutOff) {
  RawServer server({{Send{GetParam().start}, SendForever{GetParam().again}}});
  expectFailure(RestCaller{}.get(server.getURL()), CFRestError::ReplyTooLarge,
                "The header fields of the reply from " + nameOf(server) + " are larger than 256 KiB");
}

INSTANTIATE_TEST_SUITE_P(
    Places, EndlessFields,
    testing::Values(FieldsCase{"before_the_body", "HTTP/1.1 200 OK\r\n", "X: y\r\n"},
                    FieldsCase{"long_ones", "HTTP/1.1 200 OK\r\n", "X: " + std::string(60'000, 'y') + "\r\n"},
                    FieldsCase{"of_interim_replies", "", "HTTP/1.1 103 Early Hints\r\nX: y\r\n\r\n"},
                    FieldsCase{"behind_the_body",
                               "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n", "X: y\r\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(LimitedReply, MayHaveManyHeaderFields) {
  std::string fields;
  while (fields.size() < 250'000) fields += "X-Field: " + std::string(1000, 'y') + "\r\n";
  RawServer server(raw::reply(200, "{}", fields));
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 0) << outcome.text;
}

struct SizeCase {
  const char* name;
  raw::Script script;
};
class OversizeReply : public testing::TestWithParam<SizeCase> {};

TEST_P(OversizeReply, IsCutOff) {
  RawServer server({GetParam().script});
  RestCaller caller;
  caller.settings.maxReplyBytes = 1000;
  expectFailure(caller.get(server.getURL()), CFRestError::ReplyTooLarge,
                "The reply from " + nameOf(server) + " is larger than 1000 bytes");
}

INSTANTIATE_TEST_SUITE_P(
    Forms, OversizeReply,
    testing::Values(SizeCase{"endless", {Send{"HTTP/1.1 200 OK\r\n\r\n"}, SendForever{std::string(4096, 'x')}}},
                    SizeCase{"one_byte_more", {Send{raw::reply(200, std::string(1001, 'x'))}}},
                    SizeCase{"announced", {Send{"HTTP/1.1 200 OK\r\nContent-Length: 10737418240\r\n\r\n"}, Stall{}}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(LimitedReply, MayBeAsLargeAsTheLimit) {
  RawServer server(raw::reply(200, std::string(1000, 'x')));
  RestCaller caller;
  caller.settings.maxReplyBytes = 1000;
  EXPECT_EQ(caller.get(server.getURL()).code, 0);
}

}  // namespace
