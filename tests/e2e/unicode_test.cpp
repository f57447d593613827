// Texts of every script, from the command line, a pipe, the environment and the database to the service and back, byte
// by byte.
#include "support/test_ca.h"
#include "workplace.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using testing::HasSubstr;

constexpr const char* kFolder = "Каталог 🐘";
constexpr const char* kQuestion = "Сколько клиентов 🙂 «всего»?";

class Unicode : public Workplace {
 protected:
  Unicode() {
    std::filesystem::create_directory(toPath(path(kFolder)));
    database_ =
        makeDatabase(std::string(kFolder) + "/магазин 🛒.db",
                     R"(CREATE TABLE "Клиенты" ("имя 🙂" TEXT); CREATE TABLE "🛒" ("größe" REAL))");
  }

  std::string database_;
};

TEST_F(Unicode, ReachesTheServiceFromTheCommandLine) {
  const standin::Server server;
  const ProgramRun outcome =
      runCommand(chatWith(server, {"--model", kModel, "--instructions", "Отвечай кратко 🐘", database_, kQuestion}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  ASSERT_EQ(server.requests().size(), 1U);
  for (const char* part : {kQuestion, "Отвечай кратко 🐘", "CREATE TABLE `Клиенты` (`имя 🙂` TEXT)",
                           "CREATE TABLE `🛒` (`größe` REAL)"}) {
    EXPECT_THAT(server.requests().front().body, HasSubstr(part));
  }
}

TEST_F(Unicode, ReachesTheServiceFromAPipe) {
  const standin::Server server;
  const ProgramRun outcome =
      runCommand(chatWith(server, {"--model", kModel, database_}, std::string(kQuestion) + "\r\n"));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests().front().body, HasSubstr("\"content\":\"" + std::string(kQuestion) + "\""));
}

TEST_F(Unicode, ComesBackThroughAPipeWithoutPairsAtLineEnds) {
  standin::Server server;
  server.script({.status = {},
                 .body = R"({"choices":[{"message":{"role":"assistant","content":"Клиенты\n🛒 größe\n"}}]})",
                 .headers = {}});
  const ProgramRun outcome = runCommand(chatWith(server, {"--model", kModel, database_, "q"}));
  EXPECT_EQ(outcome.out, "Клиенты\n🛒 größe\n");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Unicode, IsInThePromptAsInTheDatabase) {
  const ProgramRun outcome = runCommand(chat({"--show-prompt", database_}));
  EXPECT_THAT(outcome.out, HasSubstr("CREATE TABLE `Клиенты` (`имя 🙂` TEXT)"));
}

TEST_F(Unicode, IsInComplaintsAboutFiles) {
  const std::string missing = path("нет 🐘.db");
  EXPECT_EQ(runCommand(chat({missing, "q"})).err, "qai-chat: There is no file " + missing + "\n");
}

TEST_F(Unicode, MayStandInAKey) {
  const standin::Server server;
  Command command = chatWith(server, {"--list-models"});
  command.environment = {"OPENAI_API_KEY=ключ-0123456789"};
  EXPECT_EQ(runCommand(command).code, 0);
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().header("Authorization"), "Bearer ключ-0123456789");
}

TEST_F(Unicode, MayNameTheFileOfAuthorities) {
  const TestCA authority(kFolder);
  const TestCA::Names certificate = authority.issue("localhost");
  standin::Options options;
  options.certificateFile = certificate.certificateFile;
  options.privateKeyFile = certificate.keyFile;
  const standin::Server server(options);
  const ProgramRun outcome = runCommand(chatWith(server, {"--ca-file", authority.getFile(), "--list-models"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
}

TEST_F(Unicode, IsShownAndTypedAtATerminal) {
  const standin::Server server;
  TerminalChild chat(chatWith(server, {"--model", kModel, database_}));
  EXPECT_THAT(chat.waitFor("> "), HasSubstr("магазин"));
  chat.type("Сколько клиентов?\n");
  chat.waitFor("\n> ");
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests().front().body, HasSubstr("Сколько клиентов?"));
  chat.typeEnd();
  EXPECT_EQ(chat.finish(), 0);
}

}  // namespace
