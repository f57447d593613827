// Which model answers: the one that is named, and else one of the service's list that can chat.
#include "support/services.h"
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kQuestion = "How many customers are there?";
constexpr const char* kAnswer = R"({"choices":[{"message":{"role":"assistant","content":"four"}}]})";
// The newest is for videos.
constexpr const char* kMixedList = R"({"data":[{"id":"gpt-4.1","object":"model","created":2},)"
                                   R"({"id":"text-embedding-3-large","object":"model","created":1},)"
                                   R"({"id":"sora-2","object":"model","created":3}]})";
constexpr const char* kOtherWork = R"({"data":[{"id":"sora-2","object":"model","created":2},)"
                                   R"({"id":"tts-1","object":"model","created":1}]})";

class ChosenModel : public Workplace {
 protected:
  void scriptList(const char* list) { server_.script({.status = 200, .body = list, .headers = {}}); }
  void scriptAnswer() { server_.script({.status = 200, .body = kAnswer, .headers = {}}); }

  standin::Server server_;
};

TEST_F(ChosenModel, IsOneToChatWithWhateverComesFirst) {
  scriptList(kMixedList);
  scriptAnswer();
  const ProgramRun outcome = runCommand(chatWith(server_, {shop_, kQuestion}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "four\n");
  EXPECT_EQ(outcome.err, "") << "scripts read it for failures";
  EXPECT_THAT(server_.requests().back().body, HasSubstr(R"("model":"gpt-4.1")"));
}

TEST_F(ChosenModel, IsNamedToAPersonAtATerminal) {
  for (const std::vector<std::string>& arguments : {std::vector{shop_, std::string(kQuestion)}, std::vector{shop_}}) {
    scriptList(kMixedList);
    scriptAnswer();
    TerminalChild chat(chatWith(server_, arguments));
    EXPECT_THAT(chat.waitFor("Model: gpt-4.1."), HasSubstr("Model: gpt-4.1."));
    if (arguments.size() == 1) {
      chat.waitFor("\n> ");
      enter(chat, kQuestion);
      chat.typeEnd();
    }
    EXPECT_EQ(chat.finish(), 0);
  }
}

TEST_F(ChosenModel, ThatTheUserNamedIsNotNamedAgain) {
  scriptAnswer();
  TerminalChild chat(chatWith(server_, {"--model", "m", shop_, kQuestion}));
  EXPECT_THAT(chat.waitFor("four"), Not(HasSubstr("Model")));
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(ChosenModel, IsNoneWhereNothingChats) {
  scriptList(kOtherWork);
  const ProgramRun outcome = runCommand(chatWith(server_, {shop_, kQuestion}));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err,
            "qai-chat: None of the service's models is known to chat (sora-2, tts-1); --model NAME takes one all the "
            "same\n");
  EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(ChosenModel, ThatCannotChatIsNamedWithTheWayOut) {
  server_.script({.status = 404,
                  .body = R"({"error":{"message":"This is not a chat model. Did you mean another?"}})",
                  .headers = {}});
  const ProgramRun outcome = runCommand(chatWith(server_, {"--model", "sora-2", shop_, kQuestion}));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_EQ(outcome.err,
            "qai-chat: This is not a chat model. Did you mean another? The model is sora-2; --model or, at a terminal, "
            "/model names another.\n");
}

class ModelOfEveryService : public Workplace, public testing::WithParamInterface<TestedService> {};

TEST_P(ModelOfEveryService, ThatIsNotThereIsNamedWithTheWayOut) {
  const standin::Server server;
  std::vector<std::string> environment;
  for (const std::string& variable : GetParam().keyVariables) environment.push_back(variable + "=" + kKey);
  const ProgramRun outcome = runCommand(
      chat({"--provider", GetParam().provider, "--host", server.address(), "--model", "nobody", shop_, kQuestion},
           environment));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr(" The model is nobody; --model or, at a terminal, /model names another."));
}

INSTANTIATE_TEST_SUITE_P(Services, ModelOfEveryService, testing::ValuesIn(allServices()),
                         [](const auto& row) { return std::string(row.param.name); });

class ModelCommand : public Workplace {
 protected:
  standin::Server server_;
};

TEST_F(ModelCommand, ListsChangesAndKeepsTheConversation) {
  TerminalChild chat(chatWith(server_, {"--model", kModel, "--save", path("kept.json"), shop_}));
  chat.waitFor("\n> ");
  enter(chat, kQuestion);
  EXPECT_THAT(enter(chat, "/model"), AllOf(HasSubstr("* standin-small"), HasSubstr("  standin-large")));
  EXPECT_THAT(enter(chat, "/model standin-large"),
              AllOf(HasSubstr("standin-large answers"), Not(HasSubstr("not list"))));
  enter(chat, "How many orders are there?");
  EXPECT_THAT(server_.requests().back().body, AllOf(HasSubstr(kQuestion), HasSubstr(R"("model":"standin-large")")));
  EXPECT_THAT(enter(chat, "/model nobody"), HasSubstr("OpenAI does not list it"));
  EXPECT_THAT(enter(chat, "And items?"), HasSubstr("The model is nobody; --model or"));
  EXPECT_THAT(enter(chat, "/model"), HasSubstr("* nobody, which is not listed"));
  enter(chat, "/model standin-large");
  EXPECT_THAT(enter(chat, "What did I ask before?"), HasSubstr("How many orders are there?"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  const ProgramRun restored = runCommand(chatWith(server_, {"--restore", path("kept.json"), shop_, kQuestion}));
  EXPECT_EQ(restored.code, 0) << restored.err;
  EXPECT_THAT(server_.requests().back().body, HasSubstr(R"("model":"standin-large")"));
}

TEST_F(ModelCommand, ThatFailsLeavesEverything) {
  TerminalChild chat(chatWith(server_, {"--provider", "openai-assistants", "--model", kModel, shop_}));
  chat.waitFor("\n> ");
  enter(chat, kQuestion);
  EXPECT_THAT(enter(chat, "/model nobody"),
              AllOf(HasSubstr("The model is nobody;"), HasSubstr("The model stays standin-small.")));
  EXPECT_THAT(enter(chat, "/model"), HasSubstr("* standin-small"));
  EXPECT_THAT(enter(chat, "What did I ask before?"), HasSubstr(kQuestion));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(ModelCommand, CanBeCalledOff) {
  TerminalChild chat(chatWith(server_, {"--model", kModel, shop_}));
  chat.waitFor("\n> ");
  server_.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  chat.type("/model standin-large\n");
  ASSERT_TRUE(waitForRequests(server_, 1));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("\n> "), AllOf(HasSubstr("Cancelled."), HasSubstr("The model stays standin-small.")));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

}  // namespace
