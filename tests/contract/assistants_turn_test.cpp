// The Assistants service's turns: a message, a run of the assistant, and what it wrote.
#include "assistants_fixture.h"
#include "support/assertion_log.h"
#include "support/platform.h"
#include "support/test_ca.h"

#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

std::vector<std::string> textsOf(const IQAIMessage& message) {
  std::vector<std::string> texts;
  for (const IQAIMessageSection* section : message.obtainSections()) texts.emplace_back(section->obtainText());
  return texts;
}

std::string textPart(const std::string& value) {
  return R"({"type":"text","text":{"value":")" + value + R"(","annotations":[]}})";
}

class AssistantsTurn : public Assistants {
 protected:
  /// The reply to a turn whose run wrote what `list` says: the body of the list of its messages.
  Owned<IQAIMessage> replyTo(const std::string& list) {
    letPass(3);
    answerNext(200, list);
    const auto [message, error] = assistant_->addMessage(session_.get(), "question");
    EXPECT_EQ(error, "");
    return Owned<IQAIMessage>(message);
  }

  Owned<IQAIAssistant> assistant_ = assistantWith();
  Owned<IQAISession> session_ = newSession(*assistant_);
};

TEST_F(AssistantsTurn, IsFourRequestsInOrderWhenTheRunIsDoneAtOnce) {
  EXPECT_THAT(ask(*assistant_, session_.get(), "say \"hi\"\n"), Not(StartsWith("error: ")));
  EXPECT_THAT(wireBehind(2), ElementsAre("POST /v1/threads/id/messages", "POST /v1/threads/id/runs",
                                         "GET /v1/threads/id/runs/id", "GET /v1/threads/id/messages?run_id=id"));
  const auto requests = standin_.requests();
  EXPECT_EQ(requests[2].body, R"({"role":"user","content":"say \"hi\"\n"})");
  EXPECT_EQ(requests[3].body, R"({"assistant_id":")" + savedText(*session_, "assistant_id") + "\"}");
  const std::string thread = "/v1/threads/" + savedText(*session_, "thread_id");
  for (std::size_t i = 2; i < requests.size(); ++i) EXPECT_THAT(requests[i].path, StartsWith(thread + "/"));
  const std::string runPath = thread + "/runs/";
  ASSERT_THAT(requests[4].path, StartsWith(runPath));
  EXPECT_EQ(requests[5].query[0].second, requests[4].path.substr(runPath.size()));
}

TEST_F(AssistantsTurn, ReplyIsByTheAssistantAndHasTheServicesTime) {
  const auto reply = replyTo(R"({"data":[{"created_at":1700000000,"content":[)" + textPart("one") + "]}]}");
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(reply->obtainRole(), 1U);
  EXPECT_EQ(reply->obtainCreatedTime(), 1700000000);
  ASSERT_THAT(reply->obtainSections(), SizeIs(1));
  EXPECT_EQ(reply->obtainSections()[0]->obtainType(), 0U);
  EXPECT_EQ(reply->obtainSections()[0]->obtainText(), "one");
}

TEST_F(AssistantsTurn, AllTextPartsOfAllMessagesAreSectionsInTheServicesOrder) {
  standin::RunScript run;
  run.contents = {"[" + textPart("a") + "," + textPart("b") + "]", "[" + textPart("c") + "]"};
  standin_.scriptRun(run);
  const auto [message, error] = assistant_->addMessage(session_.get(), "question");
  const Owned<IQAIMessage> reply(message);
  EXPECT_EQ(error, "");
  ASSERT_NE(reply, nullptr);
  EXPECT_THAT(textsOf(*reply), ElementsAre("c", "a", "b"));  // the service lists the newest message first
}

TEST_F(AssistantsTurn, LastMessageThatCanBeReadGivesTheTime) {
  const auto reply = replyTo(R"({"data":[{"created_at":30,"content":[]},{"created_at":10.9,"content":[]},)"
                             R"({"created_at":20,"content":"no array"},{"created_at":"40","content":[)" +
                             textPart("without a time") + R"(]},{"content":[)" + textPart("the same") + "]},7,null]}");
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(reply->obtainCreatedTime(), 10);
  EXPECT_THAT(reply->obtainSections(), IsEmpty());
}

TEST_F(AssistantsTurn, RunThatWroteNothingIsASuccessWithoutSections) {
  const auto reply = replyTo(R"({"data":[]})");
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(reply->obtainCreatedTime(), 0);
  EXPECT_THAT(reply->obtainSections(), IsEmpty());
}

TEST_F(AssistantsTurn, PartsOfAnotherTypeAreAssertedAndSkipped) {
  const AssertionLog log;
  const auto reply =
      replyTo(R"({"data":[{"created_at":1,"content":[{"type":"image_file","image_file":{"file_id":"f"}},)" +
              textPart("text") + R"(,{"type":"refusal","refusal":"no"}]}]})");
  ASSERT_NE(reply, nullptr);
  EXPECT_THAT(textsOf(*reply), ElementsAre("text"));
  const char* const assertion = "qai_assistant_openai: j_type->obtainString() == \"text\"";
  EXPECT_THAT(log.all(), ElementsAre(assertion, assertion));
}

TEST_F(AssistantsTurn, PartsThatCannotBeReadAreSkipped) {
  const AssertionLog log;
  const auto reply = replyTo(R"({"data":[{"created_at":1,"content":[{"type":7},{"text":{"value":"no type"}},)"
                             R"({"type":"text"},{"type":"text","text":"no object"},{"type":"text","text":{}},)"
                             R"({"type":"text","text":{"value":null}},null,"x",)" +
                             textPart("") + "," + textPart("good") + "]}]}");
  ASSERT_NE(reply, nullptr);
  EXPECT_THAT(textsOf(*reply), ElementsAre("", "good"));
  EXPECT_THAT(log.all(), IsEmpty());
}

TEST_F(Assistants, RepliesInTheServicesOwnFormAreUnderstood) {
  const auto assistant = bareAssistant(nullptr);
  answerNext(200, R"({"id":"asst_abc123","object":"assistant","created_at":1698984975,"name":"Math Tutor",)"
                  R"("description":null,"model":"m","instructions":"","tools":[{"type":"code_interpreter"}],)"
                  R"("metadata":{},"top_p":1.0,"temperature":1.0,"response_format":"auto"})");
  EXPECT_EQ(assign(*assistant, {{"model", "m"}}), "");
  answerNext(200, R"({"id":"thread_abc123","object":"thread","created_at":1699012949,"metadata":{},)"
                  R"("tool_resources":{}})");
  const auto session = newSession(*assistant);
  answerNext(200, R"({"id":"msg_abc123","object":"thread.message","created_at":1713226573,"assistant_id":null,)"
                  R"("thread_id":"thread_abc123","run_id":null,"role":"user","content":[)" +
                      textPart("Why?") + R"(],"attachments":[],"metadata":{}})");
  answerNext(200, R"({"id":"run_abc123","object":"thread.run","created_at":1699063290,"status":"queued",)"
                  R"("last_error":null,"usage":null,"tool_choice":"auto","parallel_tool_calls":true})");
  answerNext(200, R"({"id":"run_abc123","object":"thread.run","created_at":1699063290,"status":"completed",)"
                  R"("last_error":null,"incomplete_details":null,"usage":{"total_tokens":579}})");
  answerNext(200, R"({"object":"list","data":[{"id":"msg_abc456","object":"thread.message","created_at":1699016383,)"
                  R"("assistant_id":"asst_abc123","run_id":"run_abc123","role":"assistant","content":[)" +
                      textPart("Because.") +
                      R"(],"attachments":[],"metadata":{}}],"first_id":"msg_abc456",)"
                      R"("last_id":"msg_abc456","has_more":false})");
  const auto [message, error] = assistant->addMessage(session.get(), "Why?");
  const Owned<IQAIMessage> reply(message);
  EXPECT_EQ(error, "");
  ASSERT_NE(reply, nullptr);
  EXPECT_THAT(textsOf(*reply), ElementsAre("Because."));
  EXPECT_EQ(reply->obtainCreatedTime(), 1699016383);
  answerNext(200, R"({"id":"thread_abc123","object":"thread.deleted","deleted":true})");
  answerNext(200, R"({"id":"asst_abc123","object":"assistant.deleted","deleted":true})");
  EXPECT_EQ(assistant->destroySession(session.get()), "");
  EXPECT_EQ(standin_.requests()[4].path, "/v1/threads/thread_abc123/runs/run_abc123");
}

TEST_F(AssistantsTurn, StandInAnswersFromTheSchemaInTheInstructions) {
  assign(*assistant_, {{"db_structure",
                        R"([{"schemas":[{"tables":[{"name":"glacier","fields":[{"name":"id","type":"INT"}]}]}]}])"}});
  EXPECT_THAT(ask(*assistant_, session_.get(), "Which tables are there?"), HasSubstr("glacier"));
}

TEST_F(AssistantsTurn, ConversationIsKeptByTheService) {
  ask(*assistant_, session_.get(), "the first question");
  EXPECT_THAT(ask(*assistant_, session_.get(), "What did I ask before?"), HasSubstr("the first question"));
  EXPECT_THAT(standin_.requests()[6].body, Not(HasSubstr("the first question")));
}

TEST_F(AssistantsTurn, EmptyTextOrASessionOfAnotherKindIsRefusedAndNothingIsSent) {
  struct ForeignSession final : IQAISession {
    std::string obtainSessionData() const override { return ""; }
  };
  ForeignSession foreign;
  const std::size_t before = requestCount();
  QAIRegisterCallback(translateToX);
  EXPECT_EQ(ask(*assistant_, session_.get(), ""), "error: Session is empty");
  EXPECT_EQ(ask(*assistant_, nullptr, "question"), "error: Session is empty");
  EXPECT_EQ(ask(*assistant_, &foreign, "question"), "error: Session is empty");
  EXPECT_EQ(requestCount(), before);
}

TEST_F(AssistantsTurn, ThreadThatVanishedIsToldInTheServicesWords) {
  const auto another = bareAssistant(nullptr);
  const Owned<IQAISession> same(another->loadSession(session_->obtainSessionData()).first);
  ASSERT_EQ(another->destroySession(same.get()), "");
  const std::string thread = savedText(*session_, "thread_id");
  EXPECT_EQ(ask(*assistant_, session_.get(), "question"), "error: No thread found with id '" + thread + "'.");
  EXPECT_EQ(assistant_->destroySession(session_.get()), "No thread found with id '" + thread + "'.");
}

TEST_F(AssistantsTurn, RunThatExpiredOrStayedIncompleteIsATimeout) {
  for (const char* status : {"expired", "incomplete"}) {
    standin::RunScript run;
    run.statuses = {status};
    standin_.scriptRun(run);
    EXPECT_EQ(ask(*assistant_, session_.get(), "question"), "error: Timeout") << status;
    EXPECT_EQ(wire().back(), "GET /v1/threads/id/runs/id");
  }
  letPass(2);
  answerNext(200, R"({"status":"expired"})");
  QAIRegisterCallback(translateToX);
  EXPECT_EQ(ask(*assistant_, session_.get(), "question"), "error: X");
}

TEST_F(AssistantsTurn, RunThatTakesAWhileIsWaitedFor) {
  standin::RunScript run;
  run.statuses = {"queued", "in_progress", "in_progress", "in_progress", "completed"};
  standin_.scriptRun(run);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THAT(ask(*assistant_, session_.get(), "question"), Not(StartsWith("error: ")));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 250ms + 325ms + 422ms + 548ms);
  EXPECT_EQ(requestCount(), 2U + 2U + 5U + 1U);
}

TEST_F(AssistantsTurn, CancelFromAnotherThreadEndsThePollInFlightAndTheNextTurnWorks) {
  ICSHTTPPoolCenter* pool = CF::createHTTPPoolCenter();
  const auto assistant = bareAssistant(pool);
  assign(*assistant, {{"model", service_.model}});
  const auto session = newSession(*assistant);
  const std::size_t before = requestCount();
  letPass(2);
  standin::Script noReply;
  noReply.fault = standin::Fault::NoReply;
  standin_.script(noReply);
  std::thread canceller([&] {
    while (requestCount() < before + 3) std::this_thread::yield();
    pool->cancel();
  });
  const std::string answer = ask(*assistant, session.get(), "question");
  canceller.join();
  EXPECT_EQ(answer, "error: The request was cancelled");
  EXPECT_THAT(ask(*assistant, session.get(), "again"), Not(StartsWith("error: ")));
}

class AssistantsOverTLS : public testing::Test {
 protected:
  ~AssistantsOverTLS() override { QAISetHTTPSettings({}); }

  const TestCA authority_;
  const TestCA::Names certificate_ = authority_.issue("localhost");
  const standin::Server server_{
      {.apiKey = kKey, .certificateFile = certificate_.certificateFile, .privateKeyFile = certificate_.keyFile}};
  const Owned<IQAIAssistant> assistant_{
      QAICreateAssistant(OPENAI, CF::createHTTPPoolCenter(), kKey, server_.address())};
};

TEST_F(AssistantsOverTLS, UnknownAuthorityIsRefused) {
  if (isWine()) GTEST_SKIP() << "Wine's Schannel takes any certificate when the settings name no authority";
  EXPECT_THAT(assign(*assistant_, {{"model", "standin-small"}}), HasSubstr("The certificate of localhost:"));
  EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(AssistantsOverTLS, ConversationIsVerifiedAndKeepsItsConnection) {
  CMRestGlobalSettings settings;
  settings.caFile = authority_.getFile();
  QAISetHTTPSettings(settings);
  EXPECT_EQ(assign(*assistant_, {{"model", "standin-small"}}), "");
  const auto session = newSession(*assistant_);
  for (int i = 0; i < 3; ++i) {
    EXPECT_THAT(ask(*assistant_, session.get(), "question"), Not(StartsWith("error: ")));
  }
  EXPECT_EQ(assistant_->destroySession(session.get()), "");
  EXPECT_EQ(server_.requests().size(), 2U + 3U * 4U + 2U);
  EXPECT_EQ(server_.connectionCount(), 1U);
}

}  // namespace
