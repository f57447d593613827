// A conversation typed at a terminal that goes on at another service.
#include "support/request_lines.h"
#include "support/services.h"
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Two servers: one for the first service, which has a key, and one for Ollama.
class Moving : public Workplace {
 protected:
  Command command(const std::string& provider, const std::string& keyVariable) const {
    return chat({"--provider", provider, "--host", first_.address(), "--temperature", "0.5", shop_},
                {keyVariable + "=" + kKey, "OLLAMA_HOST=" + ollama_.address()});
  }

  static std::string everything(const standin::Request& request) {
    std::string text = request.body;
    for (const auto& [name, value] : request.headers) text += " " + name + ": " + value;
    for (const auto& [name, value] : request.query) text += " " + name + "=" + value;
    return text;
  }

  standin::Server first_;
  standin::Server ollama_;
};

class MovingFrom : public Moving, public testing::WithParamInterface<TestedService> {};

TEST_P(MovingFrom, BringsTheHistoryAndNoKeyAndComesBack) {
  TerminalChild chat(command(GetParam().provider, GetParam().keyVariables.front()));
  chat.waitFor("\n> ");
  enter(chat, "How many customers are there?");
  const std::size_t asked = first_.requests().size();
  EXPECT_THAT(enter(chat, "/provider ollama"), HasSubstr("Ollama answers from here on. Model: "));
  EXPECT_THAT(enter(chat, "How many orders are there?"), HasSubstr("orders"));

  EXPECT_EQ(first_.requests().size(), asked);
  ASSERT_EQ(ollama_.requests().size(), 2U);
  const standin::Request turn = ollama_.requests()[1];
  EXPECT_EQ(turn.path, "/api/chat");
  for (const char* part :
       {R"({"role":"user","content":"How many customers are there?"},{"role":"assistant","content":)",
        R"({"role":"user","content":"How many orders are there?"}])", R"("options":{"temperature":0.5})",
        "CREATE TABLE `customers`"}) {
    EXPECT_THAT(turn.body, HasSubstr(part));
  }
  for (const standin::Request& request : ollama_.requests()) EXPECT_THAT(everything(request), Not(HasSubstr(kKey)));

  EXPECT_THAT(enter(chat, std::string("/provider ") + GetParam().provider), HasSubstr(GetParam().title));
  enter(chat, "How many items are there?");
  EXPECT_EQ(ollama_.requests().size(), 2U);
  const standin::Request back = first_.requests().back();
  EXPECT_THAT(everything(back), HasSubstr(kKey));
  EXPECT_THAT(back.body, HasSubstr("How many orders are there?"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

INSTANTIATE_TEST_SUITE_P(Services, MovingFrom, testing::ValuesIn(keyedServices()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Moving, ThatFailsLeavesTheConversation) {
  TerminalChild chat(command("openai", "OPENAI_API_KEY"));
  chat.waitFor("\n> ");
  enter(chat, "How many customers are there?");
  EXPECT_THAT(enter(chat, "/provider nobody"), HasSubstr("'nobody' is not one of: " + listProviderNames()));
  ollama_.script({.status = 500, .body = R"({"error":{"message":"no memory"}})", .headers = {}});
  EXPECT_THAT(enter(chat, "/provider ollama"),
              testing::AllOf(HasSubstr("/api/tags can't be had: no memory. --model NAME needs no list."),
                             HasSubstr("The conversation stays with OpenAI.")));
  EXPECT_THAT(enter(chat, "/provider"), HasSubstr("* openai"));
  EXPECT_THAT(enter(chat, "How many orders are there?"), HasSubstr("orders"));
  EXPECT_EQ(ollama_.requests().size(), 1U);
  EXPECT_THAT(first_.requests().back().body, HasSubstr("How many customers are there?"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Moving, FromAServiceThatKeepsConversationsBeginsAnewEachTimeAndLeavesNothingThere) {
  const char* const notice = "OpenAI Assistants keeps conversations itself, so this one starts anew.";
  TerminalChild chat(command("openai-assistants", "OPENAI_API_KEY"));
  chat.waitFor("\n> ");
  enter(chat, "How many customers are there?");
  const std::size_t asked = first_.requests().size();
  EXPECT_THAT(enter(chat, "/provider ollama"), HasSubstr(notice));
  EXPECT_THAT(requestLines(first_, asked),
              ElementsAre("DELETE /v1/threads/thread_standin_1", "DELETE /v1/assistants/asst_standin_1"));
  EXPECT_THAT(enter(chat, "What did I ask before?"), HasSubstr("No earlier question"));

  EXPECT_THAT(enter(chat, std::string("/provider openai-assistants ") + kModel), HasSubstr(notice));
  EXPECT_THAT(requestLines(first_, asked + 2), ElementsAre("POST /v1/assistants", "POST /v1/threads"));
  EXPECT_THAT(enter(chat, "What did I ask before?"), HasSubstr("No earlier question"));
  EXPECT_THAT(enter(chat, "/provider openai-assistants standin-large"), Not(HasSubstr(notice)));
  EXPECT_THAT(enter(chat, "What did I ask before?"), HasSubstr(R"(you asked before: "What did I ask before?")"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_THAT(requestLines(first_, first_.requests().size() - 2),
              ElementsAre("DELETE /v1/threads/thread_standin_2", "DELETE /v1/assistants/asst_standin_2"));
}

TEST_F(Moving, NewBringsAConversationBackThatTheServiceLost) {
  TerminalChild chat(command("openai-assistants", "OPENAI_API_KEY"));
  chat.waitFor("\n> ");
  enter(chat, "How many customers are there?");
  first_.forgetAssistants();
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(enter(chat, "How many orders are there?"),
                HasSubstr("OpenAI Assistants no longer has this conversation; at a terminal, /new begins another."));
  }
  EXPECT_THAT(enter(chat, "/new"), HasSubstr("The conversation begins anew."));
  EXPECT_THAT(enter(chat, "What did I ask before?"), HasSubstr("No earlier question"));
  EXPECT_THAT(enter(chat, "How many orders are there?"), HasSubstr("orders"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_THAT(requestLines(first_, first_.requests().size() - 2),
              ElementsAre("DELETE /v1/threads/thread_standin_2", "DELETE /v1/assistants/asst_standin_2"));
}

TEST_F(Moving, WithoutAKeyGoesToTheStandInAndSaysSo) {
  TerminalChild chat(command("openai", "OPENAI_API_KEY"));
  chat.waitFor("\n> ");
  EXPECT_THAT(enter(chat, "/provider deepseek"),
              testing::AllOf(HasSubstr("rule-based stand-in"), HasSubstr("DEEPSEEK_API_KEY"),
                             HasSubstr("DeepSeek answers from here on.")));
  EXPECT_THAT(enter(chat, "How many orders are there?"), HasSubstr("orders"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Moving, CanBeCalledOff) {
  TerminalChild chat(command("openai", "OPENAI_API_KEY"));
  chat.waitFor("\n> ");
  const std::size_t asked = first_.requests().size();
  first_.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  chat.type("/provider openai\n");
  ASSERT_TRUE(waitForRequests(first_, asked + 1));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("\n> "), HasSubstr("Cancelled."));
  EXPECT_THAT(enter(chat, "How many orders are there?"), HasSubstr("orders"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Moving, ToOllamaCtrlCDuringAWholeAnswerWarnsFirstAndThenEndsTheProgram) {
  Command whole = command("openai", "OPENAI_API_KEY");
  whole.arguments.push_back("--no-stream");
  TerminalChild chat(whole);
  chat.waitFor("\n> ");
  enter(chat, "/provider ollama any-model");
  ollama_.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  chat.type("Will this end?\n");
  ASSERT_TRUE(waitForRequests(ollama_, 1));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("ends the program."), HasSubstr("can't be called off"));
  chat.typeCtrlC();
  EXPECT_EQ(chat.finish(), kEndedByCtrlC);
}

}  // namespace
