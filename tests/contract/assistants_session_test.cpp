// The Assistants service's sessions: threads that are made, restored and deleted.
#include "assistants_fixture.h"
#include "support/assertion_log.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(Assistants, SessionIsAThreadThatIsAskedForWithoutABody) {
  const auto assistant = assistantWith();
  const auto [session, error] = assistant->createSession();
  const Owned<IQAISession> owned(session);
  EXPECT_EQ(error, "");
  ASSERT_NE(owned, nullptr);
  const standin::Request request = standin_.requests().back();
  EXPECT_EQ(request.method + " " + request.path, "POST /v1/threads");
  EXPECT_EQ(request.body, "");
  EXPECT_EQ(request.header("Content-Length"), "0");
  EXPECT_EQ(request.header("Content-Type"), "");
}

TEST_F(Assistants, SessionBeforeAnySettingsIsRefusedAndNothingIsSent) {
  const auto assistant = bareAssistant(nullptr);
  const auto [session, error] = assistant->createSession();
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(error, "Assistant not initialized, set assistant properties");
  QAIRegisterCallback(translateToX);
  EXPECT_EQ(assistant->createSession().second, "X");
  EXPECT_EQ(standin_.connectionCount(), 0U);
}

TEST_F(Assistants, LastDestroyedSessionDeletesTheAssistant) {
  const auto assistant = assistantWith();
  const auto one = newSession(*assistant);
  const auto two = newSession(*assistant);
  EXPECT_EQ(assistant->destroySession(one.get()), "");
  EXPECT_EQ(assistant->destroySession(two.get()), "");
  EXPECT_THAT(wireBehind(3), ElementsAre("DELETE /v1/threads/id", "DELETE /v1/threads/id", "DELETE /v1/assistants/id"));
  EXPECT_EQ(standin_.requests()[3].path, "/v1/threads/" + savedText(*one, "thread_id"));
  EXPECT_EQ(standin_.requests()[5].path, "/v1/assistants/" + savedText(*two, "assistant_id"));

  EXPECT_EQ(assistant->createSession().second, "Assistant not initialized, set assistant properties");
  EXPECT_EQ(assign(*assistant, {{"model", service_.model}}), "");
  EXPECT_EQ(wire().back(), "POST /v1/assistants");
  EXPECT_NE(newSession(*assistant), nullptr);
}

TEST_F(Assistants, ErrorOfTheAssistantsDeletionIsIgnored) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  letPass(1);
  answerNext(500, R"({"error":{"message":"not now"}})");
  EXPECT_EQ(assistant->destroySession(session.get()), "");
  EXPECT_EQ(wire().back(), "DELETE /v1/assistants/id");
  EXPECT_EQ(assistant->createSession().second, "Assistant not initialized, set assistant properties");
}

TEST_F(Assistants, ThreadThatCannotBeDeletedKeepsItsSession) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  answerNext(503, R"({"error":{"message":"not now"}})");
  EXPECT_EQ(assistant->destroySession(session.get()), "not now");
  EXPECT_EQ(wire().back(), "DELETE /v1/threads/id");
  EXPECT_THAT(ask(*assistant, session.get(), "question"), Not(StartsWith("error: ")));
  EXPECT_EQ(assistant->destroySession(session.get()), "");
}

TEST_F(Assistants, UnknownSessionIsNotFoundAndNothingIsSent) {
  struct ForeignSession final : IQAISession {
    std::string obtainSessionData() const override { return ""; }
  };
  const auto assistant = assistantWith();
  const auto another = assistantWith();
  const auto destroyed = newSession(*assistant);
  const auto others = newSession(*another);
  const auto kept = newSession(*assistant);
  ForeignSession foreign;
  EXPECT_EQ(assistant->destroySession(destroyed.get()), "");
  const std::size_t before = requestCount();
  QAIRegisterCallback(translateToX);
  for (IQAISession* session :
       {static_cast<IQAISession*>(nullptr), static_cast<IQAISession*>(&foreign), others.get(), destroyed.get()}) {
    EXPECT_EQ(assistant->destroySession(session), "Session not found");
  }
  EXPECT_EQ(requestCount(), before);
}

TEST_F(Assistants, SessionWhereAFreedOneOfAnotherAssistantLayIsNotFound) {
  const auto assistant = assistantWith();
  const auto another = assistantWith();
  auto freed = newSession(*assistant);
  const IQAISession* const place = freed.get();
  freed.reset();  // without destroySession
  std::vector<Owned<IQAISession>> sessions;
  do {
    sessions.push_back(newSession(*another));
  } while (sessions.back().get() != place && sessions.size() < 10);
  if (sessions.back().get() != place) GTEST_SKIP() << "freed memory is not used again here";
  const std::size_t before = requestCount();
  EXPECT_EQ(assistant->destroySession(sessions.back().get()), "Session not found");
  EXPECT_EQ(requestCount(), before);
}

TEST_F(Assistants, RestoredSessionGoesOnInAnotherAssistantAndRestoringSendsNothing) {
  const auto first = assistantWith();
  assign(*first, {{"model", service_.model}, {"name", "N"}, {"user_instructions", "U"}});
  const auto session = newSession(*first);
  ask(*first, session.get(), "the first question");
  const std::size_t before = requestCount();

  const Owned<IQAIAssistant> second(QAICreateAssistant(OPENAI, nullptr, kKey, "http://elsewhere.invalid"));
  const auto [restored, error] = second->loadSession(session->obtainSessionData());
  const Owned<IQAISession> owned(restored);
  EXPECT_EQ(error, "");
  ASSERT_NE(owned, nullptr);
  EXPECT_EQ(owned->obtainSessionData(), session->obtainSessionData());
  EXPECT_EQ(requestCount(), before);

  EXPECT_THAT(ask(*second, owned.get(), "What did I ask before?"), HasSubstr("the first question"));
  EXPECT_EQ(assign(*second, {{"user_instructions", "V"}}), "");
  EXPECT_EQ(standin_.requests().back().path, "/v1/assistants/" + savedText(*session, "assistant_id"));
  const auto further = newSession(*second);
  EXPECT_EQ(savedText(*further, "assistant_id"), savedText(*session, "assistant_id"));
  EXPECT_NE(savedText(*further, "thread_id"), savedText(*session, "thread_id"));
}

TEST_F(Assistants, SecondRestoreIsRefused) {
  const auto first = assistantWith();
  const std::string saved = newSession(*first)->obtainSessionData();
  const auto second = bareAssistant(nullptr);
  const Owned<IQAISession> restored(second->loadSession(saved).first);
  ASSERT_NE(restored, nullptr);
  QAIRegisterCallback(translateToX);
  for (IQAIAssistant* assistant : {first.get(), second.get()}) {
    const AssertionLog log;
    const auto [session, error] = assistant->loadSession(saved);
    EXPECT_EQ(session, nullptr);
    EXPECT_EQ(error, "Assistant already exist, cannot restore assistant in serializedSession");
    EXPECT_THAT(log.all(), ElementsAre("qai_assistant_openai: this->m_assistantID.empty()"));
  }
}

TEST_F(Assistants, AfterTheLastSessionWasDestroyedAnotherOneCanBeRestored) {
  const auto first = assistantWith();
  const std::string saved = newSession(*first)->obtainSessionData();
  const auto second = bareAssistant(nullptr);
  for (int i = 0; i < 2; ++i) {
    const Owned<IQAISession> restored(second->loadSession(saved).first);
    ASSERT_NE(restored, nullptr);
    answerNext(200, "{}");
    answerNext(200, "{}");
    EXPECT_EQ(second->destroySession(restored.get()), "");
  }
}

TEST_F(Assistants, UnreadableSessionTextIsRefusedAndLeavesRoomForARightOne) {
  const auto first = assistantWith();
  const std::string saved = newSession(*first)->obtainSessionData();
  const auto second = bareAssistant(nullptr);
  for (const char* text :
       {"", "no json", R"({"assistant_id":"asst_1","model":"m"})", R"({"assistant_id":"","thread_id":"t","model":"m"})",
        R"({"assistant_id":"a","thread_id":"","model":"m"})"}) {
    const auto [session, error] = second->loadSession(text);
    EXPECT_EQ(session, nullptr);
    EXPECT_EQ(error, "Cannot load session data");
  }
  EXPECT_EQ(property(*second, "model").stringValue(), "");
  QAIRegisterCallback(translateToX);
  EXPECT_EQ(second->loadSession("").second, "X");
  EXPECT_NE(Owned<IQAISession>(second->loadSession(saved).first), nullptr);
}

TEST_F(Assistants, BlankHostInARestoredSessionIsTheServicesOwn) {
  const auto assistant = bareAssistant(nullptr);
  const Owned<IQAISession> session(
      assistant->loadSession(R"({"assistant_id":"a","thread_id":"t","api_host":" "})").first);
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(property(*assistant, "api_host").stringValue(), service_.defaultHost);
}

TEST_F(Assistants, SavedTextHoldsNoKey) {
  const auto assistant = assistantWith();
  EXPECT_THAT(newSession(*assistant)->obtainSessionData(), Not(HasSubstr(kKey)));
}

/// The service's identifiers may hold anything.
class AssistantsWithOddIDs : public Assistants {
 protected:
  AssistantsWithOddIDs() : Assistants({.apiKey = kKey, .idTail = "/../a b?c#d%2eé\r\n\x7f"}) {}
};

TEST_F(AssistantsWithOddIDs, ArePercentEncodedInEveryPath) {
  const std::string tail = "%2F..%2Fa%20b%3Fc%23d%252e%C3%A9%0D%0A%7F";
  const auto assistant = assistantWith();
  assign(*assistant, {{"user_instructions", "U"}});
  const auto session = newSession(*assistant);
  EXPECT_THAT(ask(*assistant, session.get(), "question"), Not(StartsWith("error: ")));
  EXPECT_EQ(assistant->destroySession(session.get()), "");
  EXPECT_THAT(wire(), ElementsAre("POST /v1/assistants", "POST /v1/assistants/id", "POST /v1/threads",
                                  "POST /v1/threads/id/messages", "POST /v1/threads/id/runs",
                                  "GET /v1/threads/id/runs/id", "GET /v1/threads/id/messages?run_id=id",
                                  "DELETE /v1/threads/id", "DELETE /v1/assistants/id"));
  for (const standin::Request& request : standin_.requests()) {
    if (request.path == "/v1/assistants" || request.path == "/v1/threads") continue;
    EXPECT_THAT(request.path, HasSubstr(tail));
  }
}

}  // namespace
