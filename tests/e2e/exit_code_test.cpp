// Every exit code comes with one sentence on standard error and nothing on standard output.
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ExitCodes : public Workplace {
 protected:
  static void expectEnd(const ProgramRun& outcome, int code, const std::string& part) {
    EXPECT_EQ(outcome.code, code);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith("qai-chat: "));
    EXPECT_THAT(outcome.err, HasSubstr(part));
    EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
    EXPECT_THAT(outcome.err, Not(HasSubstr(kKey)));
  }
};

TEST_F(ExitCodes, HelpAndVersionAreFine) {
  for (const char* option : {"--help", "--version"}) {
    const ProgramRun outcome = runCommand(chat({option}));
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, HasSubstr("qai-chat"));
    EXPECT_EQ(outcome.err, "");
  }
}

TEST_F(ExitCodes, WrongUsage) {
  expectEnd(runCommand(chat({})), 64, "No DATABASE is given");
  expectEnd(runCommand(chat({shop_, "--temperature", "3"})), 64, "number from 0 to 2");
  expectEnd(runCommand(chat({shop_, "How", "many?"})), 64, "put it in quotes");
}

TEST_F(ExitCodes, NotADatabase) {
  expectEnd(runCommand(chat({write("notes.txt", "nothing of that kind\n"), "q"})), 65, "is not a SQLite database");
}

TEST_F(ExitCodes, NoSuchFile) {
  expectEnd(runCommand(chat({path("none.db"), "q"})), 66, "There is no file");
  expectEnd(runCommand(chat({toText(folder_.path()), "q"})), 66, "is a folder");
}

TEST_F(ExitCodes, NamesOfFilesCannotSteerTheTerminal) {
  expectEnd(runCommand(chat({path("a\x1b[2J\nb"), "q"})), 66, "a\uFFFD[2J b");
}

TEST_F(ExitCodes, ServiceThatCannotBeReached) {
  const RefusingAddress service;
  expectEnd(runCommand(chat({"--host", service.text(), shop_, "q"}, {std::string("OPENAI_API_KEY=") + kKey})), 69,
            "connection refused");
}

TEST_F(ExitCodes, ServiceThatFails) {
  standin::Server server;
  server.script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  expectEnd(runCommand(chatWith(server, {"--model", kModel, shop_, "q"})), 69, "overloaded");
}

TEST_F(ExitCodes, ServiceWithoutModels) {
  standin::Server server;
  server.script({.status = 200, .body = R"({"data":[]})", .headers = {}});
  expectEnd(runCommand(chatWith(server, {shop_, "q"})), 69, "no models");
}

TEST_F(ExitCodes, RefusedKey) {
  standin::Options options;
  options.apiKey = "another key";
  const standin::Server server(options);
  expectEnd(runCommand(chatWith(server, {"--list-models"})), 77, "");
  expectEnd(runCommand(chatWith(server, {shop_, "q"})), 77, "");
  expectEnd(runCommand(chatWith(server, {"--model", kModel, shop_, "q"})), 77, "");
  expectEnd(runCommand(chatWith(server, {"--model", kModel, shop_}, "q\n")), 77, "");
}

TEST_F(ExitCodes, AForbiddenTurnAfterAGoodOneIsNoRefusedKey) {
  standin::Server server;
  server.script({});
  server.script({.status = 403, .body = R"({"error":{"message":"not this"}})", .headers = {}});
  const ProgramRun outcome =
      runCommand(chatWith(server, {"--model", kModel, shop_}, "How many customers are there?\nq\n"));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_EQ(outcome.err, "qai-chat: not this\n");
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(ExitCodes, AnswerThatCannotBeWritten) {
  const standin::Server server;
  Command ask = chatWith(server, {"--model", kModel, shop_, "How many customers are there?"});
  ask.outputFails = true;
  expectEnd(runCommand(ask), 74, "The answer can't be written");
}

}  // namespace
