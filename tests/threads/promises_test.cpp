// What a host may do on which thread, each shown by itself.
#include "../contract/hpp_fixture.h"
#include "support/meeting.h"
#include "support/raw_server.h"
#include "support/streams.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kCancelled = "error: The request was cancelled";

/// Runs `action` on a thread of its own, to its end.
void elsewhere(std::function<void()> action) { std::thread(std::move(action)).join(); }

class Promise : public EachHost {
 protected:
  /// The next request is read and never answered.
  void stallNext() {
    standin::Script noReply;
    noReply.fault = standin::Fault::NoReply;
    standin_.script(noReply);
  }
  void awaitRequest(std::size_t count) const {
    while (requestCount() < count) std::this_thread::yield();
  }
};
INSTANTIATE_TEST_SUITE_P(All, Promise, testing::ValuesIn(allServices()), serviceName);

TEST_P(Promise, AssistantsOnTwoThreadsAskAtOnce) {
  Meeting bothAsked(2);  // neither is answered before both have asked
  const std::string list = raw::reply(200, chatServices().front().modelsBody);
  const raw::Call meet{[&] { bothAsked.arriveAndWait(); }};
  RawServer server({{meet, raw::Send{list}}, {meet, raw::Send{list}}});
  std::thread threads[2];
  for (std::thread& thread : threads) {
    thread =
        std::thread([&] { qai::Assistant(service_.type, kKey, server.getURL()).native()->obtainAvailableModels(); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(server.getConnections(), 2U);
}

TEST_P(Promise, ObjectsAreUsedAndFreedOnOtherThreadsThanTheyWereMadeOn) {
  Owned<IQAIAssistant> assistant;
  Owned<IQAISession> session;
  std::string saved;
  Owned<IQAIMessage> reply;
  elsewhere([&] { assistant = assistantWith(); });
  elsewhere([&] { assign(*assistant, {{"model", service_.model}, {"user_instructions", "I"}}); });
  elsewhere([&] { session = newSession(*assistant); });
  ASSERT_NE(session, nullptr);
  elsewhere([&] { reply.reset(assistant->addMessage(session.get(), "question").first); });
  ASSERT_NE(reply, nullptr);
  elsewhere([&] { reply.reset(); });
  elsewhere([&] { saved = session->obtainSessionData(); });
  EXPECT_THAT(saved, HasSubstr(R"("user_instructions":"I")"));
  elsewhere([&] { EXPECT_EQ(assistant->destroySession(session.get()), ""); });
  elsewhere([&] { session.reset(); });
  elsewhere([&] { assistant.reset(); });
}

std::thread::id callbackThread;

TEST_P(Promise, CallbackRunsOnTheThreadOfTheOperation) {
  const auto assistant = bareAssistant(nullptr);
  QAIRegisterCallback([](const char*, void*) { callbackThread = std::this_thread::get_id(); });
  std::thread::id asker;
  elsewhere([&] {
    asker = std::this_thread::get_id();
    EXPECT_NE(assistant->loadSession("{").second, "");
  });
  EXPECT_EQ(callbackThread, asker);
}

Meeting* callbackMeeting = nullptr;

TEST_P(Promise, CallbackRunsOnSeveralThreadsAtOnce) {
  Meeting meeting(2);  // neither call ends before the other has begun
  callbackMeeting = &meeting;
  QAIRegisterCallback([](const char*, void*) { callbackMeeting->arriveAndWait(); });
  std::thread threads[2];
  for (std::thread& thread : threads) {
    thread = std::thread([this] { EXPECT_NE(bareAssistant(nullptr)->loadSession("{").second, ""); });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_P(Promise, SettingsOfTheLibraryHoldOnEveryThread) {
  CMRestGlobalSettings settings;
  settings.userAgent = "set before";
  QAISetHTTPSettings(settings);
  elsewhere([this] { EXPECT_TRUE(host().models()); });
  elsewhere([this] { EXPECT_TRUE(host().models()); });
  for (const standin::Request& request : standin_.requests()) EXPECT_EQ(request.header("User-Agent"), "set before");
  EXPECT_GE(requestCount(), 2U);
}

TEST_P(Promise, FlagSetByAnotherThreadStopsAStreamedTurn) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  const std::size_t sentFirst = service_.keepsConversations ? 1 : 0;  // the question itself
  const std::size_t before = requestCount();
  for (std::size_t i = 0; i < sentFirst; ++i) standin_.script({});
  stallNext();
  std::atomic<bool> stop{false};
  QAIStreamOptions options;
  options.stop = &stop;
  std::string told;
  std::thread thread([&] { told = askStreaming(*assistant, session.get(), "question", options).told; });
  awaitRequest(before + sentFirst + 1);
  stop = true;
  thread.join();
  EXPECT_EQ(told, "error: Stopped");
}

TEST_P(Promise, SinkRunsOnTheThreadOfTheTurn) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  std::thread::id asker;
  std::thread::id handed;
  const auto sink = [&](std::string_view) {
    handed = std::this_thread::get_id();
    return true;
  };
  elsewhere([&] {
    asker = std::this_thread::get_id();
    auto* streaming = qaiExtension<IQAIStreaming>(assistant.get());
    EXPECT_THAT(toldBy(streaming->addMessageStreaming(session.get(), "question", {}, sink)),
                Not(StartsWith("error: ")));
  });
  EXPECT_EQ(handed, asker);
}

class StreamPromise : public Promise {};
INSTANTIATE_TEST_SUITE_P(Pooled, StreamPromise, testing::ValuesIn(pooledServices()), serviceName);

TEST_P(StreamPromise, CancelFromAnotherThreadEndsAStreamThatHasBegun) {
  using namespace std::chrono_literals;
  const std::string body = streamOf(service_.form, service_.replyBody);
  standin::Script reply{.status = 200, .contentType = std::string(streamTypeOf(service_.form))};
  reply.pieces = {{body.substr(0, body.size() / 2)}, {body.substr(body.size() / 2), 60s}};
  standin_.script(reply);
  ICSHTTPPoolCenter* pool = CF::createHTTPPoolCenter();
  const auto assistant = bareAssistant(pool);
  assign(*assistant, {{"model", service_.model}});
  const auto session = newSession(*assistant);
  std::promise<void> begun;
  bool isFirst = true;
  const auto sink = [&](std::string_view) {
    if (std::exchange(isFirst, false)) begun.set_value();
    return true;
  };
  std::thread canceller([&] {
    begun.get_future().wait();
    pool->cancel();
  });
  auto* streaming = qaiExtension<IQAIStreaming>(assistant.get());
  EXPECT_EQ(toldBy(streaming->addMessageStreaming(session.get(), "question", {}, sink)), kCancelled);
  canceller.join();
  EXPECT_THAT(askStreaming(*assistant, session.get(), "question").told, Not(StartsWith("error: ")));
}

class CancelPromise : public Promise {};
INSTANTIATE_TEST_SUITE_P(Pooled, CancelPromise, testing::ValuesIn(cancellableServices()), serviceName);

TEST_P(CancelPromise, WithNoneInFlightEndsTheNextTurnUnsentAndOnlyThat) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  const std::size_t before = requestCount();
  for (int i = 0; i < 2; ++i) elsewhere([&] { assistant.pool()->cancel(); });
  EXPECT_EQ(ask(session, "question"), kCancelled);
  EXPECT_EQ(requestCount(), before);
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
}

TEST_P(CancelPromise, OfOneAssistantLeavesTheOthersAlone) {
  auto cancelled = host();
  auto other = host();
  auto session = other.createSession().value();
  cancelled.canceller().cancel();
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
}

TEST_P(CancelPromise, EndsATurnSoThatItsThreadEndsAndAllCanBeFreed) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  const std::size_t before = requestCount();
  stallNext();
  std::string answer;
  std::thread thread([&] { answer = ask(session, "question"); });
  awaitRequest(before + 1);
  assistant.canceller().cancel();
  thread.join();
  EXPECT_EQ(answer, kCancelled);
}

TEST_P(CancelPromise, TurnGoesOnWhenTheVariableOfItsAssistantGoes) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  const qai::Canceller canceller = session.canceller();
  const std::size_t before = requestCount();
  stallNext();
  std::string answer;
  std::thread thread([&answer, taken = std::move(session)]() mutable { answer = ask(taken, "question"); });
  awaitRequest(before + 1);
  assistant = {};
  canceller.cancel();
  thread.join();
  EXPECT_EQ(answer, kCancelled);
}

class PoollessPromise : public Promise {};
INSTANTIATE_TEST_SUITE_P(Poolless, PoollessPromise, testing::ValuesIn(poollessServices()), serviceName);

TEST_P(PoollessPromise, CancelDoesNothing) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  assistant.pool()->cancel();
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
}

}  // namespace
