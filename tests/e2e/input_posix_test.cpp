// What a program is started with that nobody writes to, or that holds much.
#include "workplace.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using testing::HasSubstr;

constexpr std::size_t kMost = std::size_t{1} << 20U;

class InheritedInput : public Workplace {
 protected:
  /// The program with a question, started by `script`, in which "$@" is it; $0 is a name in the folder.
  Command startedBy(const std::string& script, const std::string& question = "How many customers are there?") const {
    Command command = chatWith(server_, {"--model", kModel, shop_, question});
    command.arguments.insert(command.arguments.begin(), {"/bin/sh", "-c", script, path("input")});
    return command;
  }

  standin::Server server_;
};

TEST_F(InheritedInput, ThatIsClosedOrADeviceAddsNothing) {
  for (const char* script : {R"(exec "$@" <&-)", R"(exec "$@" </dev/null)", R"(exec "$@" </dev/zero)"}) {
    const ProgramRun outcome = runCommand(startedBy(script));
    EXPECT_EQ(outcome.code, 0) << script << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(server_.requests().back().body, HasSubstr("\"How many customers are there?\""));
  }
}

TEST_F(InheritedInput, ThatIsAFileGoesAlongFromWhereItIsRead) {
  write("input", "read already\nError 42\n");
  EXPECT_EQ(runCommand(startedBy(R"(exec <"$0"; read -r line; exec "$@")", "Why?")).code, 0);
  EXPECT_THAT(server_.requests().back().body, HasSubstr("\"Why?\\n\\nError 42\""));
}

TEST_F(InheritedInput, OfManyBytesIsSentWholeOrNotAtAll) {
  write("input", std::string(kMost, 'x'));
  EXPECT_EQ(runCommand(startedBy(R"(exec "$@" <"$0")")).code, 0);
  EXPECT_THAT(server_.requests().back().body, HasSubstr(std::string(kMost, 'x')));
  write("input", std::string(kMost + 1, 'x'));
  const ProgramRun outcome = runCommand(startedBy(R"(exec "$@" <"$0")"));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_EQ(outcome.err, "qai-chat: The standard input holds more than 1 MiB, too much for a question\n");
  EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(InheritedInput, WithoutAnEndIsCutWhereItIsTooMuch) {
  const ProgramRun outcome = runCommand(startedBy(R"(yes | "$@")"));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(InheritedInput, ThatNobodyWritesToIsNotWaitedForInSilence) {
  // A pipe whose writing end the program holds itself never ends.
  Child child(startedBy(R"(mkfifo "$0" && exec 3<>"$0" && exec "$@" <&3 2>&1)"));
  const std::optional<std::string> line = child.readLine();
  ASSERT_TRUE(line);
  EXPECT_THAT(*line, HasSubstr("Waiting for the end of the standard input"));
  child.interrupt();
  EXPECT_EQ(child.finish().code, kEndedByCtrlC);
  EXPECT_EQ(server_.connectionCount(), 0U);
}

}  // namespace
