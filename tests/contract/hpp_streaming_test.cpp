// Replies as they come through qai.hpp, and what a service tells of them.
#include "hpp_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using testing::Not;
using testing::StartsWith;

class StreamingHost : public EachHost {
 protected:
  StreamingHost() : assistant_(host()), session_(assistant_.createSession().value()) {}

  qai::Assistant assistant_;
  qai::Session session_;
};
INSTANTIATE_TEST_SUITE_P(All, StreamingHost, testing::ValuesIn(allServices()), serviceName);

TEST_P(StreamingHost, GetsTheTextInPiecesAndWhole) {
  std::vector<std::string> pieces;
  const auto reply = session_.ask("question", [&pieces](std::string_view piece) { pieces.emplace_back(piece); });
  ASSERT_TRUE(reply) << reply.error();
  std::string joined;
  for (const std::string& piece : pieces) joined += piece;
  EXPECT_EQ(joined, reply->text());
  EXPECT_GT(pieces.size(), 1U);
}

TEST_P(StreamingHost, GetsAllOfItInASinkThatReturnsTrue) {
  std::string joined;
  const auto sink = [&joined](std::string_view piece) {
    joined += piece;
    return true;
  };
  EXPECT_EQ(session_.ask("question", sink)->text(), joined);
  EXPECT_NE(joined, "");
}

TEST_P(StreamingHost, StopsWhenTheSinkHasEnoughAndCanAskAgain) {
  const std::string before = session_.save();
  const auto reply = session_.ask("question", [](std::string_view) { return false; });
  EXPECT_FALSE(reply);
  EXPECT_EQ(reply.error(), "Stopped");
  EXPECT_EQ(session_.save(), before);
  EXPECT_THAT(ask(session_, "again"), Not(StartsWith("error: ")));
}

TEST_P(StreamingHost, WhatTheSinkThrowsLeavesTheTurn) {
  const std::string before = session_.save();
  const auto fail = [](std::string_view) { throw std::out_of_range("the host's"); };
  EXPECT_THROW(static_cast<void>(session_.ask("question", fail)), std::out_of_range);
  EXPECT_EQ(session_.save(), before);
  EXPECT_THAT(ask(session_, "again"), Not(StartsWith("error: ")));
}

TEST_P(StreamingHost, TakesOptions) {
  const std::atomic<bool> stop{true};
  QAIStreamOptions options;
  options.stop = &stop;
  const auto reply = session_.ask(
      "question", [](std::string_view) {}, options);
  EXPECT_EQ(reply.error(), "Stopped");
}

TEST_P(StreamingHost, IsStoppedByAnyThreadWithEveryService) {
  const std::size_t last = requestCount() + (keepsConversations() ? 2 : 1);  // behind the message, the run
  if (keepsConversations()) standin_.script({});
  standin::Script silence;
  silence.delay = std::chrono::hours(1);
  standin_.script(silence);
  std::atomic<bool> stop{false};
  QAIStreamOptions options;
  options.stop = &stop;
  std::thread thread([&] {
    while (requestCount() < last) std::this_thread::yield();
    stop = true;
  });
  const auto reply = session_.ask(
      "question", [](std::string_view) {}, options);
  thread.join();
  EXPECT_EQ(reply.error(), "Stopped");
  EXPECT_THAT(ask(session_, "again"), Not(StartsWith("error: ")));
}

TEST_P(StreamingHost, IsToldWhatTheTurnCostAndWhyItEnded) {
  const auto reply = session_.ask("question", [](std::string_view) {});
  ASSERT_TRUE(reply) << reply.error();
  const qai::Details details = reply->details();
  EXPECT_TRUE(details);
  EXPECT_GT(details.inputTokens(), 0);
  EXPECT_GT(details.outputTokens(), 0);
  EXPECT_EQ(details.model(), service_.model);
  EXPECT_EQ(details.refusal(), "");
  EXPECT_EQ(details.requestIdentifier(), details.native()->obtainRequestIdentifier());
  // A run that ends well tells no reason.
  EXPECT_EQ(details.finishReason(), keepsConversations() ? "" : service_.form == BodyForm::Gemini ? "STOP" : "stop");
}

TEST_P(StreamingHost, IsToldTheSameOfAReplyThatComesWhole) {
  const auto whole = session_.ask("question");
  const auto inPieces = assistant_.createSession()->ask("question", [](std::string_view) {});
  ASSERT_TRUE(whole) << whole.error();
  ASSERT_TRUE(inPieces) << inPieces.error();
  EXPECT_EQ(whole->details().finishReason(), inPieces->details().finishReason());
  EXPECT_EQ(whole->details().inputTokens(), inPieces->details().inputTokens());
  EXPECT_EQ(whole->details().outputTokens(), inPieces->details().outputTokens());
  EXPECT_EQ(whole->details().cachedTokens(), inPieces->details().cachedTokens());
}

TEST_P(StreamingHost, FailureIsToldAsEver) {
  answerNext(503, R"({"error":{"message":"closed for today"}})");
  std::string joined;
  const auto reply = session_.ask("question", [&joined](std::string_view piece) { joined += piece; });
  EXPECT_EQ(reply.error(), "closed for today");
  EXPECT_EQ(joined, "");
  EXPECT_FALSE(reply->details());
}

}  // namespace
