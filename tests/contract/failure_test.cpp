// Turns and lists that fail: the text that the host gets, and the session that stays as it was.
#include "fixture.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <thread>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

class Failure : public EachService {
 protected:
  /// Asks once, after a first turn that succeeds, and expects `error`, an unchanged session, and an assistant that
  /// goes on working.
  void expectFailedTurn(const std::string& what, const testing::Matcher<std::string>& error,
                        const std::function<void()>& prepare) {
    SCOPED_TRACE(what);
    const auto assistant = assistantWith();
    const auto session = newSession(*assistant);
    ask(*assistant, session.get(), "before");
    const std::string saved = session->obtainSessionData();
    prepare();
    const auto [message, text] = assistant->addMessage(session.get(), "question");
    const Owned<IQAIMessage> none(message);
    EXPECT_EQ(none, nullptr);
    EXPECT_THAT(text, error);
    EXPECT_THAT(text, Not(HasSubstr(kKey)));
    EXPECT_EQ(session->obtainSessionData(), saved);
    QAISetHTTPSettings({});
    EXPECT_THAT(ask(*assistant, session.get(), "after"), Not(StartsWith("error: ")));
  }
};
INSTANTIATE_TEST_SUITE_P(Chat, Failure, testing::ValuesIn(chatServices()), serviceName);

standin::Script failing(standin::Fault fault) {
  standin::Script script;
  script.fault = fault;
  return script;
}

struct ReplyRow {
  int status;
  std::string body;
  std::string error;
};

TEST_P(Failure, OfTheServiceIsToldInItsOwnWordsWithoutALabel) {
  const std::vector<ReplyRow> rows{
      {401, R"({"error":{"message":"Incorrect API key provided","code":"invalid_api_key"}})",
       "Incorrect API key provided"},
      {429, R"({"error":{"message":"quota exceeded","code":null}})", "quota exceeded"},
      {500, R"({"error":{"code":500,"message":"Внутренняя ошибка"}})", "Внутренняя ошибка"},
      {400, R"({"error":"bad"})", R"({"error":"bad"})"},
      {400, R"({"error":{"message":7}})", R"({"error":{"message":7}})"},
      {400, "[]", "[]"},
      {502, "<html>Bad Gateway</html>", "<html>Bad Gateway</html>"},
      {503, "upstream connect error\n", "upstream connect error\n"},
      {404, "", "HTTP 404 Not Found"},
      {500, R"({"error":{"message":""}})", "HTTP 500 Internal Server Error"},
      {301, "", "HTTP 301 Moved Permanently"},
      {307, "moved", "moved"}};
  for (const ReplyRow& row : rows) {
    expectFailedTurn(std::to_string(row.status) + " " + row.body, row.error, [&] { answerNext(row.status, row.body); });
  }
}

TEST_P(Failure, OfTheReplysContentCarriesTheEndpointsLabel) {
  const std::vector<ReplyRow> rows{{200, "", service_.noJsonError},
                                   {200, "no json", service_.noJsonError},
                                   {200, service_.replyBody + std::string("x"), service_.noJsonError},
                                   {200, R"({"choices":[{"message":)", service_.noJsonError},
                                   {200, service_.wrongFormatBody, service_.formatError},
                                   {200, "{}", service_.formatError},
                                   {200, "[]", service_.formatError},
                                   {200, R"({"error":{"message":"said with 200"}})", service_.formatError}};
  for (const ReplyRow& row : rows) {
    expectFailedTurn(row.body, row.error, [&] { answerNext(row.status, row.body); });
  }
}

struct FaultRow {
  const char* name;
  standin::Fault fault;
  const char* when;  // the connection was lost
};

TEST_P(Failure, OfTheTransportNamesTheServer) {
  const std::string server = "127.0.0.1:" + std::to_string(standin_.port());
  for (const FaultRow& row : {FaultRow{"cut body", standin::Fault::CutBody, "the reply was complete"},
                              {"reset", standin::Fault::Reset, "a reply; the service may have acted"}}) {
    const std::string error = "The connection to " + server + " was lost before " + row.when;
    expectFailedTurn(row.name, error, [&] { standin_.script(failing(row.fault)); });
  }
}

TEST_P(Failure, TurnEndsAtTheTimeLimit) {
  expectFailedTurn("no reply", HasSubstr("No reply from 127.0.0.1:"), [&] {
    standin_.script(failing(standin::Fault::NoReply));
    CMRestGlobalSettings settings;
    settings.totalTimeout = 100ms;
    QAISetHTTPSettings(settings);
  });
}

TEST_P(Failure, ReplyBeyondTheCapIsRefused) {
  expectFailedTurn("too large", HasSubstr("is larger than"), [&] {
    answerNext(200, std::string(5000, ' ') + service_.replyBody);
    CMRestGlobalSettings settings;
    settings.maxReplyBytes = 4096;
    QAISetHTTPSettings(settings);
  });
}

TEST_P(Failure, UnreachableServerIsNamed) {
  int port = 0;
  {
    const standin::Server gone;
    port = gone.port();
  }
  const std::string address = "http://127.0.0.1:" + std::to_string(port);
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(service_.type, nullptr, kKey, address));
  assign(*assistant, {{"model", "m"}});
  const auto session = newSession(*assistant);
  const std::string expected = "Could not connect to 127.0.0.1:" + std::to_string(port) + ": connection refused";
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "error: " + expected);
  EXPECT_EQ(assistant->obtainAvailableModels().second, expected);
}

TEST_P(Failure, WithoutAModelNothingIsSent) {
  const auto assistant = bareAssistant(nullptr);
  const auto session = newSession(*assistant);
  const std::string saved = session->obtainSessionData();
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "error: " + std::string(service_.noModelError));
  EXPECT_EQ(requestCount(), 0U);
  EXPECT_EQ(session->obtainSessionData(), saved);
}

TEST_P(Failure, OfAModelListIsTold) {
  const auto assistant = bareAssistant(CF::createHTTPPoolCenter());
  const std::vector<ReplyRow> rows{{403, R"({"error":{"message":"no"}})", "no"},
                                   {500, "", "HTTP 500 Internal Server Error"},
                                   {200, "<html>", service_.modelsNoJsonError},
                                   {200, "{}", service_.modelsFormatError},
                                   {200, R"({"data":{},"models":{}})", service_.modelsFormatError}};
  for (const ReplyRow& row : rows) {
    answerNext(row.status, row.body);
    const auto [models, error] = assistant->obtainAvailableModels();
    EXPECT_THAT(models, IsEmpty());
    EXPECT_EQ(error, row.error) << row.body;
  }
}

TEST_P(Failure, SessionOfAnotherKindIsAHostErrorAndNothingIsSent) {
  struct ForeignSession final : IQAISession {
    std::string obtainSessionData() const override { return ""; }
  };
  const auto assistant = assistantWith();
  ForeignSession foreign;
  for (IQAISession* session : {static_cast<IQAISession*>(nullptr), static_cast<IQAISession*>(&foreign)}) {
    const AssertionLog log;
    EXPECT_EQ(ask(*assistant, session, "question"), "error: Session is empty");
    ASSERT_EQ(log.all().size(), 1U);
    EXPECT_THAT(log.all()[0], testing::EndsWith(": false"));
  }
  EXPECT_EQ(requestCount(), 0U);
}

std::string labelOf(const std::string& error) { return error.substr(error.find(": ")); }

TEST_P(Failure, LibrarysOwnTextsAreTranslatedAndTheirLabelsAreNot) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  QAIRegisterCallback(translateToX);
  answerNext(200, "no json");
  EXPECT_EQ(ask(*assistant, session.get(), "q"), "error: X" + labelOf(service_.noJsonError));
  answerNext(200, "{}");
  EXPECT_EQ(ask(*assistant, session.get(), "q"), "error: X" + labelOf(service_.formatError));
  answerNext(200, "{}");
  EXPECT_EQ(assistant->obtainAvailableModels().second, "X" + labelOf(service_.modelsFormatError));
  EXPECT_EQ(assistant->loadSession("{").second, "X");
  const auto bare = bareAssistant(nullptr);
  EXPECT_EQ(ask(*bare, newSession(*bare).get(), "q"), "error: X" + labelOf(service_.noModelError));
}

TEST_P(Failure, OtherTextsAreNotTranslated) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  QAIRegisterCallback(translateToX);
  answerNext(500, R"({"error":{"message":"theirs"}})");
  EXPECT_EQ(ask(*assistant, session.get(), "q"), "error: theirs");
  const AssertionLog log;
  EXPECT_EQ(ask(*assistant, nullptr, "q"), "error: Session is empty");
}

class PooledFailure : public EachService {};
INSTANTIATE_TEST_SUITE_P(Chat, PooledFailure, testing::ValuesIn(pooledServices()), serviceName);

TEST_P(PooledFailure, CancelFromAnotherThreadEndsTheTurnAndTheNextOneWorks) {
  ICSHTTPPoolCenter* pool = CF::createHTTPPoolCenter();
  const auto assistant = bareAssistant(pool);
  assign(*assistant, {{"model", service_.model}});
  const auto session = newSession(*assistant);
  standin_.script(failing(standin::Fault::NoReply));
  std::thread canceller([&] {
    while (requestCount() == 0) std::this_thread::yield();
    pool->cancel();
  });
  const std::string answer = ask(*assistant, session.get(), "question");
  canceller.join();
  EXPECT_EQ(answer, "error: The request was cancelled");
  EXPECT_THAT(session->obtainSessionData(), HasSubstr(R"("messages":[])"));
  EXPECT_THAT(ask(*assistant, session.get(), "again"), Not(StartsWith("error: ")));
}

class KeyedFailure : public EachService {};
INSTANTIATE_TEST_SUITE_P(Chat, KeyedFailure, testing::ValuesIn(keyedServices()), serviceName);

TEST_P(KeyedFailure, KeyWithALineBreakIsRefusedBeforeAnythingIsSent) {
  const auto assistant = assistantWith(kKey + "\r\nX-Injected: yes");
  const auto session = newSession(*assistant);
  const std::string answer = ask(*assistant, session.get(), "question");
  EXPECT_THAT(answer, StartsWith("error: "));
  EXPECT_THAT(answer, Not(HasSubstr(kKey)));
  EXPECT_EQ(standin_.connectionCount(), 0U);
}

}  // namespace
