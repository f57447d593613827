// A conversation typed at a terminal.
#include "support/platform.h"
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

class Terminal : public Workplace {};

TEST_F(Terminal, AnswersUntilTheInputEnds) {
  const standin::Server server;
  TerminalChild chat(chatWith(server, {shop_}));
  EXPECT_THAT(chat.waitFor("> "), HasSubstr("5 tables, 1 view"));
  chat.type("How many customers are there?\n");
  EXPECT_THAT(chat.waitFor("\n> "), HasSubstr("customers"));
  chat.typeEnd();
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Terminal, CtrlCEndsTheWaitAndTheConversationGoesOn) {
  standin::Server server;
  TerminalChild chat(chatWith(server, {"--model", kModel, shop_}));
  chat.waitFor("> ");
  server.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  chat.type("Will this end?\n");
  ASSERT_TRUE(waitForRequests(server, 1));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("> "), HasSubstr("Stopped. No answer is kept"));
  chat.type("How many customers are there?\n");
  EXPECT_THAT(chat.waitFor("\n> "), Not(HasSubstr("topped")));
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_THAT(server.requests()[1].body, Not(HasSubstr("Will this end?")));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Terminal, CtrlCAtThePromptDropsTheLine) {
  if (isWine()) GTEST_SKIP() << "Wine's terminals keep the line at Ctrl-C";
  const standin::Server server;
  TerminalChild chat(chatWith(server, {"--model", kModel, shop_}));
  chat.waitFor("> ");
  chat.type("half a quest");
  chat.waitFor("half a quest");
  chat.typeCtrlC();
  chat.waitFor("\n> ");
  chat.type("How many customers are there?\n");
  chat.waitFor("\n> ");
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests().front().body, Not(HasSubstr("half a quest")));
  chat.typeEnd();
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Terminal, CtrlCWhileTheModelsAreFetchedEndsTheProgram) {
  standin::Server server;
  server.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  TerminalChild chat(chatWith(server, {shop_}));
  ASSERT_TRUE(waitForRequests(server, 1));
  chat.typeCtrlC();
  EXPECT_EQ(chat.finish(), 69);
}

TEST_F(Terminal, AFailedTurnIsToldAndTheConversationGoesOn) {
  standin::Server server;
  server.script({.status = 500, .body = R"({"error":{"message":"out of order"}})", .headers = {}});
  TerminalChild chat(chatWith(server, {"--model", kModel, shop_}));
  chat.waitFor("> ");
  chat.type("q\n");
  EXPECT_THAT(chat.waitFor("\n> "), HasSubstr("qai-chat: out of order"));
  chat.typeEnd();
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Terminal, WhatIsNoQuestionIsNotSent) {
  const standin::Server server;
  TerminalChild chat(chatWith(server, {"--model", kModel, shop_}));
  chat.waitFor("> ");
  EXPECT_THAT(enter(chat, ".tables"), HasSubstr("customer_turnover (a view)"));
  EXPECT_THAT(enter(chat, "?"), HasSubstr("/provider NAME [MODEL]"));
  EXPECT_THAT(enter(chat, "/hlep"), HasSubstr("did you mean /help?"));
  EXPECT_THAT(enter(chat, "\\timing"), HasSubstr("a command of another program"));
  chat.type("\\q\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(Terminal, WithoutAKeyTheStandInIsNamedOnce) {
  TerminalChild chat(Workplace::chat({shop_}));
  EXPECT_THAT(chat.waitFor("> "), HasSubstr("rule-based stand-in"));
  chat.type("How many customers are there?\n");
  EXPECT_THAT(chat.waitFor("\n> "), Not(HasSubstr("stand-in")));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

}  // namespace
