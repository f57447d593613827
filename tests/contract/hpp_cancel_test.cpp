// Cancelling through qai.hpp, from another thread.
#include "hpp_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

using testing::Not;
using testing::StartsWith;

class Cancelling : public EachHost {
 protected:
  /// Asks a question that the service does not answer, while `canceller` cancels once it has come in.
  std::string askAndCancel(qai::Session& session, const qai::Canceller& canceller) {
    const std::size_t before = requestCount();
    standin::Script noReply;
    noReply.fault = standin::Fault::NoReply;
    standin_.script(noReply);
    std::thread thread([this, canceller, before] {
      while (requestCount() == before) std::this_thread::yield();
      canceller.cancel();
    });
    std::string answer = ask(session, "question");
    thread.join();
    return answer;
  }
};
INSTANTIATE_TEST_SUITE_P(Pooled, Cancelling, testing::ValuesIn(cancellableServices()), serviceName);

TEST_P(Cancelling, EndsTheTurnAndTheNextOneWorks) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  EXPECT_EQ(askAndCancel(session, assistant.canceller()), "error: The request was cancelled");
  EXPECT_THAT(ask(session, "again"), Not(StartsWith("error: ")));
}

TEST_P(Cancelling, SessionsCancellerIsItsAssistants) {
  auto session = host().createSession().value();
  EXPECT_EQ(askAndCancel(session, session.canceller()), "error: The request was cancelled");
}

TEST_P(Cancelling, IsTakenBackWhereNoRequestHasMetIt) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  assistant.canceller().cancel();
  assistant.dropCancel();
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
}

TEST_P(Cancelling, LeavesNoStatusWhereARefusalAndASuccessLeaveTheirs) {
  auto assistant = host();
  EXPECT_EQ(assistant.lastStatus(), requestCount() == 0 ? 0 : 200);  // the Assistants service was told of it
  EXPECT_TRUE(assistant.models());
  EXPECT_EQ(assistant.lastStatus(), 200);
  answerNext(401, "{}");
  EXPECT_FALSE(assistant.models());
  EXPECT_EQ(assistant.lastStatus(), 401);
  assistant.canceller().cancel();
  EXPECT_FALSE(assistant.models());
  EXPECT_EQ(assistant.lastStatus(), 0);
}

TEST(EmptyAssistant, HasNoStatusAndNoCancelToTakeBack) {
  const qai::Assistant empty;
  empty.dropCancel();
  EXPECT_EQ(empty.lastStatus(), 0);
}

TEST_P(Cancelling, DoesNothingWhenTheAssistantIsGone) {
  qai::Canceller canceller;
  canceller.cancel();
  {
    auto session = host().createSession().value();
    canceller = session.canceller();
  }
  canceller.cancel();
  auto session = host().createSession().value();
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
}

TEST_P(Cancelling, MayGoOnWhileTheAssistantGoes) {
  for (int round = 0; round < 20; ++round) {
    auto session = std::make_unique<qai::Session>(host().createSession().value());
    std::atomic<bool> started = false;
    std::atomic<bool> ended = false;
    std::thread thread([&started, &ended, canceller = session->canceller()] {
      while (!ended) {
        canceller.cancel();
        started = true;
      }
    });
    while (!started) std::this_thread::yield();
    session.reset();
    ended = true;
    thread.join();
  }
}

}  // namespace
