// Answers that are shown while they come, and what is told at their end.
#include "support/request_lines.h"
#include "support/services.h"
#include "support/streams.h"
#include "workplace.h"

#include <gmock/gmock.h>

#include <chrono>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::chrono::hours kForEver{1};

class Streaming : public Workplace {
 protected:
  static std::string event(const std::string& text) {
    return R"(data: {"choices":[{"index":0,"delta":{"role":"assistant","content":")" + text +
           R"("},"finish_reason":null}]})"
           "\n\n";
  }

  /// The next reply is a stream of `pieces`, each sent on its own, and never ends.
  void neverEndNextReply(const std::vector<std::string>& pieces, std::string_view contentType) {
    standin::Script script;
    script.contentType = contentType;
    for (const std::string& piece : pieces) script.pieces.push_back({.bytes = piece});
    script.pieces.push_back({.bytes = "\n", .pause = kForEver});
    server_.script(script);
  }
  void neverEndNextReply(const std::vector<std::string>& texts) {
    std::vector<std::string> events;
    for (const std::string& text : texts) events.push_back(event(text));
    neverEndNextReply(events, "text/event-stream");
  }

  /// The next reply is whole, with `choice` for its only one.
  void replyNext(const std::string& choice) {
    standin::Script script;
    script.status = 200;
    script.body = R"({"choices":[)" + choice + R"(],"usage":{"prompt_tokens":7,"completion_tokens":3}})";
    server_.script(script);
  }

  Command command(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--model", kModel, shop_});
    return chatWith(server_, std::move(arguments));
  }

  standin::Server server_;
};

TEST_F(Streaming, ATerminalShowsAnAnswerWhileItComesAndCtrlCStopsIt) {
  TerminalChild chat(command({}));
  chat.waitFor("> ");
  neverEndNextReply({"There are 40 ", "and a half"});
  chat.type("How many?\n");
  chat.waitFor("There are 40 and a");
  chat.typeCtrlC();
  const std::string shown = chat.waitFor("\n> ");
  EXPECT_THAT(shown, HasSubstr("Stopped. No answer is kept, and it is as if you had not asked."));
  EXPECT_THAT(enter(chat, "/cost"), HasSubstr("There is no answer yet."));
  EXPECT_THAT(enter(chat, "How many customers are there?"), HasSubstr("customers"));
  EXPECT_THAT(server_.requests().back().body, Not(HasSubstr("How many?")));
  EXPECT_THAT(enter(chat, "/cost"), HasSubstr("1 answer. Tokens: "));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Streaming, AKeyThatComesInPiecesIsNotShown) {
  const std::string key = kKey;
  TerminalChild chat(command({}));
  chat.waitFor("> ");
  neverEndNextReply({"It is " + key.substr(0, 9), key.substr(9, 9), key.substr(18) + ", or ", key.substr(0, 20)});
  chat.type("What is my key?\n");
  EXPECT_THAT(chat.waitFor("[redacted], or"), Not(HasSubstr(key.substr(0, 9))));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("\n> "), Not(HasSubstr(key.substr(0, 9))));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Streaming, AnAnswerThatBreaksOffOnATerminalIsTold) {
  TerminalChild chat(command({}));
  chat.waitFor("> ");
  standin::Script script;
  script.body = event("There are 40 ");
  script.contentType = "text/event-stream";
  server_.script(script);
  chat.type("How many?\n");
  EXPECT_THAT(chat.waitFor("\n> "), HasSubstr("qai-chat: The reply ended before it was complete"));
  chat.typeEnd();
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Streaming, PipesGetAnAnswerWholeAndSoDoTerminalsThatAreToldTo) {
  EXPECT_EQ(runCommand(command({"How many customers are there?"})).code, 0);
  EXPECT_THAT(server_.requests().back().body, Not(HasSubstr("\"stream\"")));
  {
    TerminalChild chat(command({"--no-stream", "How many customers are there?"}));
    chat.waitFor("customers");
    EXPECT_EQ(chat.finish(), 0);
  }
  EXPECT_THAT(server_.requests().back().body, Not(HasSubstr("\"stream\"")));
  TerminalChild chat(command({"How many customers are there?"}));
  chat.waitFor("customers");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_THAT(server_.requests().back().body, HasSubstr("\"stream\":true"));
}

TEST_F(Streaming, AnAnswerThatWasCutSaysSoBesideIt) {
  replyNext(R"({"message":{"role":"assistant","content":"There are"},"finish_reason":"length"})");
  const ProgramRun cut = runCommand(command({"How many?"}));
  EXPECT_EQ(cut.out, "There are\n");
  EXPECT_EQ(cut.err, "qai-chat: The answer was cut: it had reached the most tokens (length).\n");
  EXPECT_EQ(cut.code, 0);
}

TEST_F(Streaming, AnAnswerWithoutTextSaysWhatTheServiceSent) {
  replyNext(R"({"message":{"role":"assistant","content":null,"refusal":"I won't say )" + std::string(kKey) +
            R"("},"finish_reason":"stop"})");
  const ProgramRun refused = runCommand(command({"How many?"}));
  EXPECT_EQ(refused.out, "\n");
  EXPECT_EQ(refused.err, "qai-chat: The service sent no text. The model refused: I won't say [redacted]\n");
}

class StreamingOfEach : public Streaming, public testing::WithParamInterface<TestedService> {};
INSTANTIATE_TEST_SUITE_P(Services, StreamingOfEach, testing::ValuesIn(chatServices()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(StreamingOfEach, IsStoppedByCtrlCAndTheNextQuestionIsAnswered) {
  std::vector<std::string> environment;
  if (GetParam().usesKey()) environment = {GetParam().keyVariables.front() + "=" + kKey};
  TerminalChild terminal(chat({"--provider", GetParam().provider, "--host", server_.address(), shop_}, environment));
  terminal.waitFor("\n> ");
  const std::string stream = streamOf(GetParam().form, GetParam().replyBody);
  neverEndNextReply({stream.substr(0, stream.size() * 4 / 5)}, streamTypeOf(GetParam().form));
  terminal.type("Will this end?\n");
  terminal.waitFor("two");
  terminal.typeCtrlC();
  EXPECT_THAT(terminal.waitFor("\n> "), HasSubstr("Stopped. No answer is kept, and it is as if you had"));
  EXPECT_THAT(enter(terminal, "How many customers are there?"), HasSubstr("FROM customers"));
  EXPECT_THAT(server_.requests().back().body, Not(HasSubstr("Will this end?")));
  terminal.type("/quit\n");
  EXPECT_EQ(terminal.finish(), 0);
}

TEST_F(Streaming, OfARunThatIsStoppedEndsTheRunAtTheService) {
  TerminalChild terminal(
      chat({"--provider", "openai-assistants", "--host", server_.address(), "--model", kModel, shop_},
           {std::string("OPENAI_API_KEY=") + kKey}));
  terminal.waitFor("\n> ");
  const std::size_t begun = server_.requests().size();
  server_.scriptRun({.statuses = {"in_progress"}});
  server_.script({});
  neverEndNextReply(
      {"event: thread.run.created\ndata: {\"id\":\"run_standin_1\",\"status\":\"queued\"}\n\n",
       "event: thread.message.delta\n"
       R"(data: {"id":"msg_1","delta":{"content":[{"index":0,"type":"text","text":{"value":"It has begun "}}]}})"
       "\n\n"},
      "text/event-stream");
  terminal.type("Will this end?\n");
  terminal.waitFor("It has begun");
  terminal.typeCtrlC();
  EXPECT_THAT(terminal.waitFor("\n> "), HasSubstr("OpenAI Assistants may keep the question."));
  EXPECT_THAT(requestLines(server_, begun),
              ElementsAre("POST /v1/threads/thread_standin_1/messages", "POST /v1/threads/thread_standin_1/runs",
                          "POST /v1/threads/thread_standin_1/runs/run_standin_1/cancel"));
  EXPECT_THAT(enter(terminal, "How many customers are there?"), HasSubstr("FROM customers"));
  terminal.type("/quit\n");
  EXPECT_EQ(terminal.finish(), 0);
}

}  // namespace
