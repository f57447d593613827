// A service that keeps assistant and conversation: nothing stays there, however a wait or the program ends.
#include "support/request_lines.h"
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kQuestion = "How many customers are there?";
constexpr std::size_t kBegun = 2;            // requests: the assistant, the thread
constexpr std::size_t kPolled = kBegun + 3;  // the message, the run, its state
constexpr const char* kDeleteThread = "DELETE /v1/threads/thread_standin_1";
constexpr const char* kDeleteSecondThread = "DELETE /v1/threads/thread_standin_2";
constexpr const char* kDeleteAssistant = "DELETE /v1/assistants/asst_standin_1";

class Keeping : public Workplace {
 protected:
  Command command(std::vector<std::string> arguments, std::string input = "") const {
    arguments.insert(arguments.begin(), {"--provider", "openai-assistants", "--model", kModel, shop_});
    return chatWith(server_, std::move(arguments), std::move(input));
  }

  void keepSilentAfter(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) server_.script({});
    server_.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  }

  /// What was sent behind the first `skipped`, but for questions after a run, whose number is not certain.
  std::vector<std::string> changesBehind(std::size_t skipped) const {
    std::vector<std::string> lines = requestLines(server_, skipped);
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("GET "); });
    return lines;
  }

  std::vector<std::string> lastTwo() const { return requestLines(server_, server_.requests().size() - 2); }

  standin::Server server_;
};

TEST_F(Keeping, EndsWithTheInputAlsoAfterAFailedTurn) {
  server_.scriptRun({.statuses = {"failed"}, .lastError = R"({"code":"server_error","message":"out of order"})"});
  const ProgramRun outcome = runCommand(command({}, "q\n"));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_EQ(outcome.err, "qai-chat: server_error: out of order\n");
  EXPECT_THAT(lastTwo(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeping, EndsWhenTheAnswerCannotBeWritten) {
  Child child(command({kQuestion}));
  child.closeOutput();
  EXPECT_EQ(child.finish().code, 0);
  EXPECT_THAT(lastTwo(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeping, EndsWhenCtrlCEndsTheWaitForTheOneAnswer) {
  server_.scriptRun({.statuses = {"in_progress"}});
  Child child(command({kQuestion}));
  ASSERT_TRUE(waitForRequests(server_, kPolled));
  child.interrupt();
  const ProgramRun outcome = child.finish();
  EXPECT_EQ(outcome.code, kEndedByCtrlC);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(lastTwo(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeping, EndsWhenCtrlCEndsAPipedConversation) {
  keepSilentAfter(kBegun);
  Child child(command({}, "q\nanother\n"));
  ASSERT_TRUE(waitForRequests(server_, kBegun + 1));
  child.interrupt();
  EXPECT_EQ(child.finish().code, kEndedByCtrlC);
  EXPECT_THAT(requestLines(server_, kBegun + 1), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeping, CtrlCDuringARunThatIsPolledAndNeverEndsBringsBackThePrompt) {
  server_.scriptRun({.statuses = {"in_progress"}});
  TerminalChild chat(command({"--no-stream"}));
  chat.waitFor("> ");
  chat.type("Will this end?\n");
  ASSERT_TRUE(waitForRequests(server_, kPolled));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("> "), HasSubstr("OpenAI Assistants may keep the question."));
  EXPECT_THAT(enter(chat, kQuestion), HasSubstr("while a run run_standin_1 is active"));
  EXPECT_THAT(enter(chat, "/new"), HasSubstr("The conversation begins anew."));
  EXPECT_THAT(enter(chat, kQuestion), HasSubstr("customers"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_THAT(changesBehind(kPolled),
              ElementsAre("POST /v1/threads/thread_standin_1/messages", "POST /v1/assistants/asst_standin_1",
                          "POST /v1/threads", kDeleteThread, "POST /v1/threads/thread_standin_2/messages",
                          "POST /v1/threads/thread_standin_2/runs", kDeleteSecondThread, kDeleteAssistant));
}

TEST_F(Keeping, CtrlCWhileAConversationBeginsAnewKeepsTheOldOne) {
  TerminalChild chat(command({}));
  chat.waitFor("> ");
  enter(chat, kQuestion);
  const std::size_t asked = server_.requests().size();
  keepSilentAfter(0);
  chat.type("/new\n");
  ASSERT_TRUE(waitForRequests(server_, asked + 1));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("\n> "), testing::AllOf(HasSubstr("Cancelled."), HasSubstr("The conversation goes on.")));
  EXPECT_THAT(enter(chat, "What did I ask before?"), HasSubstr(std::string("you asked before: \"") + kQuestion));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_THAT(lastTwo(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeping, CtrlCWhileTheAssistantIsMadeEndsTheProgram) {
  keepSilentAfter(0);
  TerminalChild chat(command({}));
  ASSERT_TRUE(waitForRequests(server_, 1));
  chat.typeCtrlC();
  EXPECT_EQ(chat.finish(), 69);
  EXPECT_THAT(requestLines(server_), ElementsAre("POST /v1/assistants"));
}

TEST_F(Keeping, CtrlCWhileTheFirstConversationBeginsEndsTheProgram) {
  keepSilentAfter(1);
  TerminalChild chat(command({}));
  ASSERT_TRUE(waitForRequests(server_, 2));
  chat.typeCtrlC();
  EXPECT_EQ(chat.finish(), 69);
  EXPECT_THAT(requestLines(server_, 2), ElementsAre("POST /v1/threads", kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeping, CtrlCAtTheFarewellCutsItShortWithoutAPrompt) {
  TerminalChild chat(command({}));
  chat.waitFor("> ");
  keepSilentAfter(0);
  chat.type("/quit\n");
  ASSERT_TRUE(waitForRequests(server_, kBegun + 1));
  chat.typeCtrlC();
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_THAT(chat.waitFor("the end"), Not(HasSubstr("> ")));
  EXPECT_THAT(requestLines(server_, kBegun), ElementsAre(kDeleteThread));
}

}  // namespace
