// What comes through the standard input beside a question in the arguments.
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

class Input : public Workplace {
 protected:
  ProgramRun ask(const std::string& input) const {
    return runCommand(chatWith(server_, {"--model", kModel, shop_, "Explain this error"}, input));
  }

  standin::Server server_;
};

TEST_F(Input, FromAPipeGoesBehindTheQuestion) {
  const ProgramRun outcome = ask("\xEF\xBB\xBF  Error 42\n\tat \xC3\xBC.c:7\n\n");
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  ASSERT_EQ(server_.requests().size(), 1U) << "one question";
  EXPECT_THAT(server_.requests().front().body, HasSubstr("Explain this error\\n\\n  Error 42\\n\\tat \xC3\xBC.c:7\""));
}

TEST_F(Input, ThatIsBlankAddsNothing) {
  for (const char* input : {"", " \r\n\t\n"}) {
    EXPECT_EQ(ask(input).code, 0);
    EXPECT_THAT(server_.requests().back().body, HasSubstr("\"Explain this error\""));
  }
}

TEST_F(Input, ThatIsIllFormedIsMadeWellFormed) {
  EXPECT_EQ(ask("caf\xE9").code, 0);
  EXPECT_THAT(server_.requests().back().body, HasSubstr("caf\uFFFD"));
}

TEST_F(Input, ThatIsNoTextIsNotSent) {
  const ProgramRun outcome = ask(std::string("SQLite format 3\0rows", 20));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_EQ(outcome.err, "qai-chat: The standard input holds no text that a question can have\n");
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(Input, AtATerminalIsNotWaitedFor) {
  TerminalChild chat(chatWith(server_, {"--model", kModel, shop_, "How many customers are there?"}));
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(Input, PipedWithoutAQuestionIsObeyedWhereItIsACommand) {
  const ProgramRun outcome =
      runCommand(chatWith(server_, {"--model", kModel, shop_}, "How many customers are there?\n\\d orders\nexit\nq\n"));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(server_.requests().size(), 1U);
  EXPECT_THAT(outcome.err, HasSubstr("customer_id  INTEGER, refers to customers\n"));
  EXPECT_THAT(outcome.out, Not(HasSubstr("customer_id")));
}

}  // namespace
