// Turns that succeed: what is sent, what comes back, what the session keeps.
#include "fixture.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>

#include <chrono>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class Turn : public EachService {};
INSTANTIATE_TEST_SUITE_P(Chat, Turn, testing::ValuesIn(chatServices()), serviceName);

std::int64_t now() {
  using std::chrono::system_clock;
  return std::chrono::duration_cast<std::chrono::seconds>(system_clock::now().time_since_epoch()).count();
}

TEST_P(Turn, ReplyIsAMessageByTheAssistantWithOneTextSectionAndTheTime) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  answerNext(200, service_.replyBody);
  const std::int64_t before = now();
  const auto [message, error] = assistant->addMessage(session.get(), "question");
  const Owned<IQAIMessage> reply(message);
  EXPECT_EQ(error, "");
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(reply->obtainRole(), 1U);
  EXPECT_GE(reply->obtainCreatedTime(), before);
  EXPECT_LE(reply->obtainCreatedTime(), now());
  ASSERT_THAT(reply->obtainSections(), SizeIs(1));
  EXPECT_EQ(reply->obtainSections()[0]->obtainType(), 0U);
  EXPECT_EQ(reply->obtainSections()[0]->obtainText(), "two parts");
}

TEST_P(Turn, GoesToTheServicesAddressAsJson) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  ask(*assistant, session.get(), "question");
  const auto requests = standin_.requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].method, "POST");
  EXPECT_EQ(requests[0].path, service_.chatPath);
  EXPECT_EQ(requests[0].header("Content-Type"), "application/json");
}

TEST_P(Turn, StandInAnswersFromTheSchemaInTheInstructions) {
  const auto assistant = assistantWith();
  assign(*assistant, {{"db_structure",
                       R"([{"schemas":[{"tables":[{"name":"glacier","fields":[{"name":"id","type":"INT"}]}]}]}])"}});
  const auto session = newSession(*assistant);
  EXPECT_THAT(ask(*assistant, session.get(), "Which tables are there?"), HasSubstr("glacier"));
}

TEST_P(Turn, HistoryIsKeptAndSentOldestFirst) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  answerNext(200, service_.replyBody);
  EXPECT_EQ(ask(*assistant, session.get(), "first"), "two parts");
  ask(*assistant, session.get(), "second");
  EXPECT_THAT(lastBody(), HasSubstr("[" + historyPart(service_, {"first", "two parts", "second"}) + "]"));
}

TEST_P(Turn, InstructionsComeBeforeTheHistoryOnEveryTurn) {
  const auto assistant = assistantWith();
  assign(*assistant, {{"user_instructions", "I"}});
  const auto session = newSession(*assistant);
  for (const char* text : {"first", "second"}) {
    ask(*assistant, session.get(), text);
    EXPECT_THAT(lastBody(), HasSubstr(service_.instructionsPart));
  }
}

TEST_P(Turn, BodyGoesOnWhereTheOneBeforeEndedSoThatAServiceCanKeepWhatItHasRead) {
  const AssertionLog log;  // the record asserts that a temperature is a number, and takes a text
  const auto assistant = assistantWith();
  assign(*assistant, {{"temperature", "0.7"},
                      {"user_instructions", "I"},
                      {"system_instructions", CMVariantMap{{"b", "second"}, {"a", "first"}}},
                      {"db_structure", R"([{"schemas":[{"tables":[{"name":"glacier","fields":[]}]}]}])"}});
  const auto session = newSession(*assistant);
  std::string before;  // the last body, without the brackets that end the list and the object
  for (const char* text : {"question 1", "question 2", "question 3"}) {
    ask(*assistant, session.get(), text);
    const std::string body = lastBody();
    EXPECT_THAT(body, testing::StartsWith(before));
    EXPECT_THAT(body, testing::EndsWith("]}"));
    EXPECT_LT(body.find("CREATE TABLE `glacier`"), body.find("question 1"));  // and nothing of it stands behind
    EXPECT_EQ(body.find("CREATE TABLE `glacier`"), body.rfind("CREATE TABLE `glacier`"));
    before = body.substr(0, body.size() - 2);
  }
}

TEST_P(Turn, TemperatureIsSentOnlyWhenItWasAssigned) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  ask(*assistant, session.get(), "question");
  EXPECT_THAT(lastBody(), Not(HasSubstr("temperature")));
  assign(*assistant, {{"temperature", "0.7"}});
  ask(*assistant, session.get(), "question");
  EXPECT_THAT(lastBody(), HasSubstr(service_.temperaturePart));
}

TEST_P(Turn, ChangedSettingsReachAnOpenSession) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  assign(*assistant, {{"user_instructions", "I"}});
  ask(*assistant, session.get(), "question");
  EXPECT_THAT(lastBody(), HasSubstr(service_.instructionsPart));
}

TEST_P(Turn, ReplyWithoutAnyTextIsASuccessAndKeepsBothEntries) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  answerNext(200, service_.emptyReplyBody);
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "");
  EXPECT_THAT(session->obtainSessionData(),
              HasSubstr(R"("messages":[{"role":"user","content":"question"},{"role":"assistant","content":""}])"));
}

TEST_P(Turn, AnyStatusFrom200To299Succeeds) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  for (const int status : {200, 201, 202, 299}) {
    answerNext(status, service_.replyBody);
    EXPECT_EQ(ask(*assistant, session.get(), "question"), "two parts") << status;
  }
}

TEST_P(Turn, BlankLinesAroundTheReplyAreFine) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  answerNext(200, "\n\n\r\n" + std::string(service_.replyBody) + "\n");
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "two parts");
}

TEST_P(Turn, TwoSessionsOfOneAssistantKeepTheirOwnHistory) {
  const auto assistant = assistantWith();
  const auto one = newSession(*assistant);
  const auto two = newSession(*assistant);
  answerNext(200, service_.replyBody);
  ask(*assistant, one.get(), "first");
  EXPECT_THAT(two->obtainSessionData(), HasSubstr(R"("messages":[])"));
}

TEST_P(Turn, AllTurnsOfAnAssistantShareOneConnectionWhereItUsesItsPool) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  for (int i = 0; i < 5; ++i) ask(*assistant, session.get(), "question");
  EXPECT_EQ(requestCount(), 5U);
  EXPECT_EQ(standin_.connectionCount(), service_.usesPool ? 1U : 5U);
}

TEST_P(Turn, WithoutAPoolEachTurnOpensAConnection) {
  const auto assistant = bareAssistant(nullptr);
  assign(*assistant, {{"model", service_.model}});
  const auto session = newSession(*assistant);
  for (int i = 0; i < 5; ++i) ask(*assistant, session.get(), "question");
  EXPECT_EQ(standin_.connectionCount(), 5U);
}

/// For servers that speak OpenAI's protocol and refuse the role "developer".
TEST(ServerOfOpenAIsProtocol, IsReachedByTypeThreeWithTheVersionInItsAddressAndTheRoleSystem) {
  const standin::Server server({.apiKey = kKey});
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(DEEPSEEK, nullptr, kKey, server.address() + "/v1"));
  EXPECT_THAT(assistant->obtainAvailableModels().first, testing::Contains("standin-small"));
  assign(*assistant, {{"model", "standin-small"}, {"user_instructions", "I"}});
  const auto session = newSession(*assistant);
  EXPECT_THAT(ask(*assistant, session.get(), "question"), Not(testing::StartsWith("error: ")));
  const auto requests = server.requests();
  ASSERT_THAT(requests, SizeIs(2));
  EXPECT_EQ(requests[0].path, "/v1/models");
  EXPECT_EQ(requests[1].path, "/v1/chat/completions");
  EXPECT_THAT(requests[1].body, HasSubstr(R"({"role":"system","content":"I\n\n"})"));
}

TEST(Host, MayEndWithSlashesThatNoRequestHas) {
  const standin::Server server;
  for (const char* end : {"/", "//", "/v1/"}) {
    const Owned<IQAIAssistant> assistant(QAICreateAssistant(DEEPSEEK, nullptr, kKey, server.address() + end));
    assistant->obtainAvailableModels();
    EXPECT_EQ(server.requests().back().path, std::string_view(end) == "/v1/" ? "/v1/models" : "/models");
  }
}

TEST_P(Turn, ModelsAreListedInTheServicesOrder) {
  const auto assistant = bareAssistant(CF::createHTTPPoolCenter());
  answerNext(200, service_.modelsBody);
  const auto [models, error] = assistant->obtainAvailableModels();
  EXPECT_EQ(error, "");
  EXPECT_EQ(models, service_.modelsInIt);
  EXPECT_EQ(standin_.requests().at(0).method, "GET");
  EXPECT_EQ(standin_.requests().at(0).path, service_.modelsPath);
}

}  // namespace
