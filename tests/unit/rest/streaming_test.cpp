// Replies that go to a receiver while they come, and what a response keeps of their head.
#include "rest_caller.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;
using raw::Call;
using raw::Close;
using raw::Send;
using raw::Stall;

const std::string kHead = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream; charset=utf-8\r\n";
const std::string kOpenHead = kHead + "Connection: close\r\n\r\n";  // the body ends with the connection

class Receiver final : public ICSRestReceiver {
 public:
  bool begin(std::int32_t status, std::string_view contentType, std::string_view beginning) override {
    begun.append(std::to_string(status)).append(" ").append(contentType).append(" ").append(beginning);
    return wants;
  }
  bool receive(std::string_view part) override {
    received += part;
    return onPart == nullptr || onPart();
  }
  bool isStopped() noexcept override { return stops; }

  bool wants = true;
  std::function<bool()> onPart;
  std::atomic<bool> stops{false};
  std::string begun;
  std::string received;
};

RestResult stream(const RestCaller& caller, const RawServer& server, Receiver& receiver,
                  const CMRestParams& headers = {}) {
  CMRestPostRequest request;
  request.setURL(server.getURL());
  const COJson body(std::string("{}"));
  request.updateJson(&body);
  request.addHeaderParams(headers);
  return caller.run(request, [&](ICSRestClient& client, const CMRestPostRequest& sent, CMRestResourceResponse** reply) {
    return client.executePostStreaming(sent, receiver, reply);
  });
}

struct StreamCase {
  const char* name;
  std::string reply;
  std::string begun;
  std::string received;
};
class Stream : public testing::TestWithParam<StreamCase> {};

TEST_P(Stream, GoesToTheReceiverAndNotIntoTheResponse) {
  RawServer server({{Send{GetParam().reply}, Close{}}});
  Receiver receiver;
  const RestResult outcome = stream({}, server, receiver);
  EXPECT_EQ(outcome.code, 0) << outcome.text;
  EXPECT_EQ(receiver.begun, GetParam().begun);
  EXPECT_EQ(receiver.received, GetParam().received);
  EXPECT_EQ(bodyOf(outcome), "");
}

INSTANTIATE_TEST_SUITE_P(
    Replies, Stream,
    testing::Values(StreamCase{"whole", kOpenHead + "data: x\n\n", "200 text/event-stream; charset=utf-8 data: x\n\n",
                               "data: x\n\n"},
                    StreamCase{"blanks_are_handed_over", kOpenHead + "\r\n data: x",
                               "200 text/event-stream; charset=utf-8 data: x", "\r\n data: x"},
                    StreamCase{"in_a_chunk", kHead + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n",
                               "200 text/event-stream; charset=utf-8 abc", "abc"},
                    StreamCase{"behind_an_interim_reply",
                               "HTTP/1.1 103 Early Hints\r\nContent-Type: no\r\n\r\nHTTP/1.1 201 Created\r\n"
                               "CONTENT-TYPE :\tyes \r\nConnection: close\r\n\r\nabc",
                               "201  abc", "abc"},
                    StreamCase{"without_a_type", "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n{", "200  {", "{"},
                    StreamCase{"empty", kOpenHead, "", ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Streaming, CollectsWhatTheReceiverDoesNotWant) {
  RawServer server({{Send{raw::reply(429, " {\"error\":1}")}}});
  Receiver receiver;
  receiver.wants = false;
  const RestResult outcome = stream({}, server, receiver);
  EXPECT_EQ(outcome.code, 429);
  EXPECT_THAT(receiver.begun, testing::StartsWith("429 "));
  EXPECT_EQ(receiver.received, "");
  EXPECT_EQ(bodyOf(outcome), " {\"error\":1}");
}

// The server goes on only when the part has arrived: what came is not held back.
TEST(Streaming, HandsAPartOverBeforeTheNextOneComes) {
  std::atomic<int> arrived{0};
  const auto await = [&arrived](int count) {
    return Call{[&arrived, count] {
      for (int i = 0; i < 1000 && arrived < count; ++i) std::this_thread::sleep_for(10ms);
    }};
  };
  RawServer server({{Send{kOpenHead + "one"}, await(1), Send{"two"}, await(2), Close{}}});
  Receiver receiver;
  receiver.onPart = [&] { return ++arrived > 0; };
  EXPECT_EQ(stream({}, server, receiver).code, 0);
  EXPECT_EQ(receiver.received, "onetwo");
  EXPECT_EQ(arrived, 2);
}

TEST(Streaming, EndsWhenTheReceiverWantsNoMore) {
  RawServer server({{Send{kOpenHead + "one"}, Stall{}}});
  Receiver receiver;
  receiver.onPart = [] { return false; };
  expectFailure(stream({}, server, receiver), CFRestError::Stopped, "Stopped");
  EXPECT_TRUE(server.waitForEnds(1));
}

TEST(Streaming, EndsWhenTheReceiverStopsDuringASilence) {
  Receiver receiver;
  RawServer server({{Send{kOpenHead + "one"}, Call{[&] { receiver.stops = true; }}, Stall{}}});
  expectFailure(stream({}, server, receiver), CFRestError::Stopped, "Stopped");
  EXPECT_TRUE(server.waitForEnds(1));
}

TEST(Streaming, SendsNothingForAReceiverThatHasStopped) {
  RawServer server(raw::reply(200, "{}"));
  Receiver receiver;
  receiver.stops = true;
  expectFailure(stream({}, server, receiver), CFRestError::Stopped, "Stopped");
  EXPECT_EQ(server.getRequests().size(), 0U);
}

TEST(Streaming, LetsOutWhatTheReceiverThrowsAndServesTheNextRequest) {
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  RestCaller caller;
  caller.session.httpPoolCenter = pool.get();
  RawServer server(raw::reply(200, "text", "Content-Type: text/event-stream\r\n"));
  Receiver receiver;
  receiver.onPart = []() -> bool { throw std::out_of_range("the receiver's own"); };
  EXPECT_THROW(stream(caller, server, receiver), std::out_of_range);
  receiver.onPart = nullptr;
  receiver.received.clear();
  EXPECT_EQ(stream(caller, server, receiver).code, 0);
  EXPECT_EQ(receiver.received, "text");
}

TEST(Streaming, CanBeCancelledFromWithinTheReceiver) {
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  RestCaller caller;
  caller.session.httpPoolCenter = pool.get();
  RawServer server({{Send{kOpenHead + "one"}, Stall{}}});
  Receiver receiver;
  receiver.onPart = [&] {
    pool->cancel();
    return true;
  };
  expectFailure(stream(caller, server, receiver), CFRestError::Cancelled, "The request was cancelled");
}

TEST(Streaming, FailsWhenTheConnectionIsLostInTheMiddle) {
  RawServer server({{Send{kHead + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n"}, Close{}}});
  Receiver receiver;
  expectFailure(stream({}, server, receiver), CFRestError::ConnectionLost,
                "The connection to " + nameOf(server) + " was lost before the reply was complete");
  EXPECT_EQ(receiver.received, "abc");
}

TEST(Streaming, IsGivenUpWhenNothingComes) {
  RawServer server({{Send{kOpenHead + "one"}, Stall{}}});
  RestCaller caller;
  caller.settings.lowSpeedTime = 1s;
  Receiver receiver;
  expectFailure(stream(caller, server, receiver), CFRestError::TimedOut,
                "Nothing came from " + nameOf(server) + " for 1 s");
}

TEST(Streaming, HasNoLimitOnItsSize) {
  RawServer server(raw::reply(200, std::string(100'000, 'x'), "Content-Type: text/event-stream\r\n"));
  RestCaller caller;
  caller.settings.maxReplyBytes = 10'000;
  Receiver receiver;
  EXPECT_EQ(stream(caller, server, receiver).code, 0);
  EXPECT_EQ(receiver.received.size(), 100'000U);
}

TEST(Streaming, LimitsTheBlanksThatItKeeps) {
  RawServer server({{Send{kOpenHead + std::string(100'000, '\n') + "data"}, Close{}}});
  RestCaller caller;
  caller.settings.maxReplyBytes = 10'000;
  Receiver receiver;
  EXPECT_EQ(stream(caller, server, receiver).code, toCode(CFRestError::ReplyTooLarge));
}

TEST(Streaming, AsksForAnUncompressedReplyOfTheKindThatTheRequestNames) {
  RawServer server(raw::reply(200, "{}"));
  Receiver receiver;
  stream({}, server, receiver, {{"ACCEPT", "text/event-stream"}});
  stream({}, server, receiver);
  const std::vector<std::string> requests = server.getRequests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_TRUE(holdsLine(requests[0], "ACCEPT: text/event-stream")) << requests[0];
  EXPECT_FALSE(holdsLine(requests[0], "Accept: application/json")) << requests[0];
  EXPECT_TRUE(holdsLine(requests[1], "Accept: application/json")) << requests[1];
  for (const std::string& request : requests) {
    EXPECT_EQ(request.find("Accept-Encoding"), std::string::npos) << request;
  }
}

// A kept handle was set up for the one kind.
TEST(Streaming, AndPlainRequestsMayTakeTurns) {
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  RestCaller caller;
  caller.session.httpPoolCenter = pool.get();
  RawServer server(raw::reply(200, "{}"));
  const COJson body(std::string("{}"));
  for (int turn = 0; turn < 3; ++turn) {
    Receiver receiver;
    EXPECT_EQ(stream(caller, server, receiver).code, 0);
    EXPECT_EQ(receiver.received, "{}");
    EXPECT_EQ(bodyOf(caller.post(server.getURL(), &body)), "{}");
  }
  EXPECT_EQ(server.getConnections(), 1U);
}

struct FieldCase {
  const char* name;
  std::string fields;
  std::string value;
};
class ReplyField : public testing::TestWithParam<FieldCase> {};

TEST_P(ReplyField, IsFound) {
  RawServer server(raw::reply(200, "{}", GetParam().fields));
  const RestResult outcome = RestCaller{}.get(server.getURL());
  ASSERT_NE(outcome.response, nullptr) << outcome.text;
  EXPECT_EQ(outcome.response->findHeader("x-request-id"), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Forms, ReplyField,
                         testing::Values(FieldCase{"absent", "", ""},
                                         FieldCase{"as_asked", "x-request-id: req_1\r\n", "req_1"},
                                         FieldCase{"in_capitals", "X-REQUEST-ID:req_1\r\n", "req_1"},
                                         FieldCase{"between_blanks", "X-Request-Id: \t req 1 \t\r\n", "req 1"},
                                         FieldCase{"empty", "X-Request-Id:\r\n", ""},
                                         FieldCase{"the_first_of_two", "X-Request-Id: a\r\nX-Request-Id: b\r\n", "a"},
                                         FieldCase{"none_that_begins_alike", "X-Request-Idea: a\r\n", ""},
                                         FieldCase{"none_in_a_value", "A: x-request-id: a\r\n", ""}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ReplyFields, AreThoseBeforeTheBodyOfTheLastReply) {
  RawServer server(
      {{Send{"HTTP/1.1 103 Early Hints\r\nX-Early: a\r\n\r\nHTTP/1.1 200 OK\r\nX-Head: b\r\n"
             "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nX-Late: c\r\n\r\n"}}});
  const RestResult outcome = RestCaller{}.get(server.getURL());
  ASSERT_NE(outcome.response, nullptr) << outcome.text;
  EXPECT_EQ(outcome.response->findHeader("X-Early"), "");
  EXPECT_EQ(outcome.response->findHeader("X-Head"), "b");
  EXPECT_EQ(outcome.response->findHeader("X-Late"), "");
}

}  // namespace
