// Questions and answers through the built program and a stand-in service.
#include "workplace.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kEscapeReply =
    R"({"choices":[{"message":{"role":"assistant","content":"a\u001b[2Jb\u009bc\n\u00fc"}}]})";

class Question : public Workplace {};

TEST_F(Question, IsAnsweredByTheService) {
  const standin::Server server;
  const ProgramRun outcome = runCommand(chatWith(server, {shop_, "How many customers are there?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("customers"));
  EXPECT_THAT(outcome.out, testing::EndsWith("\n"));
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Question, TravelsWithTheStructureAndTheKey) {
  const standin::Server server;
  runCommand(
      chatWith(server, {"--instructions", "Be brief.", "--temperature", "0.5", "--model", kModel, shop_, "Hello?"}));
  ASSERT_EQ(server.requests().size(), 1U);
  const standin::Request request = server.requests().front();
  EXPECT_EQ(request.header("Authorization"), std::string("Bearer ") + kKey);
  for (const char* part :
       {"Hello?", "Be brief.", R"("model":"standin-small")", R"("temperature":0.5)", "CREATE TABLE `order_lines`",
        "PRIMARY KEY(`order_id``line_number`)", "FOREIGN KEY(`customer_id`) REFERENCES `customers`(`id`)",
        "CREATE VIEW `customer_turnover`", "SQLite"}) {
    EXPECT_THAT(request.body, HasSubstr(part));
  }
  EXPECT_THAT(request.body, Not(HasSubstr("example.com"))) << "rows stay at home";
}

TEST_F(Question, WithoutAModelGoesToTheFirstListed) {
  standin::Server server;
  server.script({.status = 200,
                 .body = R"({"data":[{"id":"old","object":"model","created":1},)"
                         R"({"id":"new","object":"model","created":2}]})",
                 .headers = {}});
  runCommand(chatWith(server, {shop_, "Hello?"}));
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_THAT(server.requests()[1].body, HasSubstr(R"("model":"new")"));
}

TEST_F(Question, WithoutAKeyIsAnsweredByTheStandIn) {
  const ProgramRun outcome = runCommand(chat({shop_, "How many customers are there?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, Not(IsEmpty()));
  EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("rule-based stand-in answers, not a language model"));
  EXPECT_THAT(outcome.err, HasSubstr("OPENAI_API_KEY"));
}

TEST_F(Question, AnEmptyKeyIsNone) {
  const ProgramRun outcome = runCommand(chat({shop_, "How many customers are there?"}, {"OPENAI_API_KEY= "}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("stand-in"));
}

TEST_F(Question, PipedLinesAreOneConversation) {
  const standin::Server server;
  const ProgramRun outcome = runCommand(
      chatWith(server, {"--model", kModel, shop_}, "How many customers are there?\n\nHow many orders are there?\n"));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, Not(HasSubstr("> ")));
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_THAT(server.requests()[1].body, HasSubstr("How many customers"));
  EXPECT_THAT(server.requests()[1].body, HasSubstr("How many orders"));
}

TEST_F(Question, APipedFailureIsToldAndTheRestAnswered) {
  standin::Server server;
  server.script(
      {.status = {}, .body = R"({"choices":[{"message":{"role":"assistant","content":"one"}}]})", .headers = {}});
  server.script({.status = 500, .body = R"({"error":{"message":"out of order"}})", .headers = {}});
  server.script(
      {.status = {}, .body = R"({"choices":[{"message":{"role":"assistant","content":"three"}}]})", .headers = {}});
  const ProgramRun outcome = runCommand(chatWith(server, {"--model", kModel, shop_}, "1\n2\n3\n"));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_EQ(outcome.out, "one\nthree\n");
  EXPECT_EQ(outcome.err, "qai-chat: out of order\n");
}

TEST_F(Question, AnswersCannotSteerTheTerminal) {
  standin::Server server;
  server.script({.status = 200, .body = kEscapeReply, .headers = {}});
  const ProgramRun outcome = runCommand(chatWith(server, {"--model", kModel, shop_, "q"}));
  EXPECT_EQ(outcome.out, "a\uFFFD[2Jb\uFFFDc\n\u00fc\n");
}

TEST_F(Question, TheDatabaseAndItsFolderStayAsTheyAre) {
  const auto bytes = [this] {
    std::ostringstream text;
    text << std::ifstream(toPath(shop_), std::ios::binary).rdbuf();
    return text.str();
  };
  const auto files = [this] {
    return std::distance(std::filesystem::directory_iterator(folder_.path()), std::filesystem::directory_iterator());
  };
  const std::string before = bytes();
  runCommand(chat({shop_, "How many customers are there?"}));
  EXPECT_EQ(bytes(), before);
  EXPECT_EQ(files(), 1);
}

TEST_F(Question, NobodyReadingTheAnswerIsNoError) {
  standin::Server server;
  Child child(chatWith(server, {"--model", kModel, shop_, "How many customers are there?"}));
  child.closeOutput();
  const ProgramRun outcome = child.finish();
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Question, TheKeyIsInNoTextAndNoCommandLine) {
  standin::Server server;
  server.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  Child child(chatWith(server, {"--model", kModel, shop_, "q"}));
  ASSERT_TRUE(waitForRequests(server, 1));
  const std::string commandLine = child.obtainCommandLine();
  EXPECT_THAT(commandLine, HasSubstr("qai-chat"));
  EXPECT_THAT(commandLine, Not(HasSubstr(kKey)));
  child.interrupt();
  const ProgramRun outcome = child.finish();
  EXPECT_EQ(outcome.code, kEndedByCtrlC);
  EXPECT_THAT(outcome.out + outcome.err, Not(HasSubstr(kKey)));
}

TEST_F(Question, AKeyThatTheServiceQuotesIsNotShown) {
  standin::Server server;
  server.script(
      {.status = 500, .body = std::string(R"({"error":{"message":"bad key )") + kKey + R"("}})", .headers = {}});
  const ProgramRun outcome = runCommand(chatWith(server, {"--model", kModel, shop_, "q"}));
  EXPECT_EQ(outcome.err, "qai-chat: bad key [redacted]\n");
}

class Models : public Workplace {};

TEST_F(Models, AreListedOneALine) {
  standin::Server server;
  server.script({.status = 200,
                 .body = R"({"data":[{"id":"a\nb\u001b","object":"model","created":2},)"
                         R"({"id":"c","object":"model","created":1}]})",
                 .headers = {}});
  const ProgramRun outcome = runCommand(chatWith(server, {"--list-models"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "a b\uFFFD\nc\n");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Models, OfTheStandInAreListedWithTheNotice) {
  const ProgramRun outcome = runCommand(chat({"--list-models"}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, Not(IsEmpty()));
  EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
}

class Prompt : public Workplace {};

TEST_F(Prompt, IsShownAndNothingSent) {
  const standin::Server server;
  const ProgramRun outcome = runCommand(chatWith(server, {"--show-prompt", "--instructions", "Be brief.", shop_, "q"}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, StartsWith("Be brief.\n\n"));
  EXPECT_THAT(outcome.out, HasSubstr("CREATE TABLE `order_lines` ("));
  EXPECT_THAT(outcome.out, Not(HasSubstr("USE CATALOG")));
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(server.connectionCount(), 0U);
}

TEST_F(Prompt, NeedsNoKey) {
  const ProgramRun outcome = runCommand(chat({"--show-prompt", shop_}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
}

}  // namespace
