#include "assistant.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kModel = "standin-small";

Service serviceAt(const standin::Server& server) {
  return {.provider = &kProviders.front(),
          .host = server.address(),
          .apiKey = "a key",
          .secrets = {"a secret key", "short"},
          .settings = {}};
}

Setup setupWith(const std::string& model) {
  return {.model = model, .temperature = "", .instructions = "", .productName = "SQLite", .structureJson = "[]"};
}

class AssistantTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(assistant_.configure(setupWith(kModel)), "");
    ASSERT_EQ(assistant_.startConversation(), "");
  }

  standin::Server server_;
  Assistant assistant_{serviceAt(server_)};
};

TEST_F(AssistantTest, RemembersUntilTheConversationBeginsAnew) {
  EXPECT_EQ(assistant_.ask("first question").error, "");
  EXPECT_EQ(assistant_.ask("second question").error, "");
  EXPECT_EQ(assistant_.startConversation(), "");
  EXPECT_EQ(assistant_.ask("third question").error, "");
  ASSERT_EQ(server_.requests().size(), 3U);
  EXPECT_THAT(server_.requests()[1].body, HasSubstr("first question"));
  EXPECT_THAT(server_.requests()[2].body, Not(HasSubstr("first question")));
}

TEST_F(AssistantTest, ACancelEndsTheNextTurn) {
  assistant_.cancel();
  EXPECT_NE(assistant_.ask("q").error, "");
  EXPECT_THAT(server_.requests(), IsEmpty());
  EXPECT_EQ(assistant_.ask("q").error, "");
}

TEST_F(AssistantTest, ACancelThatCameTooLateForItsTurnCanBeDropped) {
  EXPECT_EQ(assistant_.ask("q").error, "");
  assistant_.cancel();
  assistant_.dropLateCancel();
  EXPECT_EQ(assistant_.ask("q").error, "");
  EXPECT_EQ(server_.requests().size(), 2U);
}

TEST_F(AssistantTest, SettingsThatTheLibraryRefusesAreNamed) {
  auto setup = setupWith(kModel);
  setup.structureJson = "{";
  EXPECT_THAT(assistant_.configure(setup), HasSubstr("db_structure"));
}

TEST_F(AssistantTest, ATextShowsNoSecretButIsNotMangledByShortOnes) {
  server_.script({.status = 500, .body = R"({"error":{"message":"a secret key, in short"}})", .headers = {}});
  EXPECT_EQ(assistant_.ask("q").error, "***, in short");
}

TEST_F(AssistantTest, ASavedConversationHoldsTheTurnsAndNoSettings) {
  EXPECT_EQ(assistant_.saveConversation(), R"({"messages":[]})");
  server_.script(
      {.status = 200, .body = R"({"choices":[{"message":{"role":"assistant","content":"a"}}]})", .headers = {}});
  EXPECT_EQ(assistant_.ask("q").error, "");
  EXPECT_EQ(assistant_.saveConversation(),
            R"({"messages":[{"role":"user","content":"q"},{"role":"assistant","content":"a"}]})");
}

TEST_F(AssistantTest, ARefusedKeyIsToldFromOtherFailures) {
  EXPECT_EQ(assistant_.failureCode(), ExitCode::ServiceFailed);
  for (const int status : {401, 403}) {
    server_.script({.status = status, .body = "{}", .headers = {}});
    EXPECT_EQ(assistant_.failureCode(), ExitCode::KeyRefused) << status;
  }
  EXPECT_EQ(assistant_.ask("q").error, "");
  const std::size_t asked = server_.requests().size();
  EXPECT_EQ(assistant_.failureCode(), ExitCode::ServiceFailed) << "a key that was good once";
  EXPECT_EQ(server_.requests().size(), asked);
}

TEST(AssistantOfOllama, TellsHowToStartAServerThatIsNotThere) {
  std::string address;
  {
    const standin::Server server;
    address = server.address();
  }
  Assistant assistant(
      {.provider = findProvider("ollama"), .host = address, .apiKey = "", .secrets = {}, .settings = {}});
  const std::string error = assistant.listModels().second;
  EXPECT_THAT(error, HasSubstr("connection refused. Start Ollama with 'ollama serve'"));
  EXPECT_THAT(error, HasSubstr("OLLAMA_HOST"));
}

TEST(AssistantOfOllama, TellsNothingOfThatWhenTheServerFails) {
  standin::Server server;
  server.script({.status = 500, .body = R"({"error":{"message":"no memory"}})", .headers = {}});
  Assistant assistant(
      {.provider = findProvider("ollama"), .host = server.address(), .apiKey = "", .secrets = {}, .settings = {}});
  EXPECT_EQ(assistant.listModels().second, "no memory");
  EXPECT_EQ(assistant.failureCode(), ExitCode::ServiceFailed);
}

}  // namespace
