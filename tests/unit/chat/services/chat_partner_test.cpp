#include "services/chat_partner.h"

#include "support/request_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kModel = "standin-small";

Endpoint endpointAt(const standin::Server& server, const Provider& provider = kProviders.front()) {
  return {.provider = &provider,
          .host = server.address(),
          .apiKey = "a key",
          .secrets = {"a secret key", "short"},
          .settings = {}};
}

Setup setupWith(const std::string& model) {
  return {.model = model, .temperature = "", .instructions = "", .productName = "SQLite", .structureJson = "[]"};
}

class ChatPartnerTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(partner_.configure(setupWith(kModel)), "");
    ASSERT_EQ(partner_.startConversation(), "");
  }

  standin::Server server_;
  ChatPartner partner_{endpointAt(server_)};
};

TEST_F(ChatPartnerTest, RemembersUntilTheConversationBeginsAnew) {
  EXPECT_EQ(partner_.ask({"first question"}).error, "");
  EXPECT_EQ(partner_.ask({"second question"}).error, "");
  EXPECT_EQ(partner_.startConversation(), "");
  EXPECT_EQ(partner_.ask({"third question"}).error, "");
  ASSERT_EQ(server_.requests().size(), 3U);
  EXPECT_THAT(server_.requests()[1].body, HasSubstr("first question"));
  EXPECT_THAT(server_.requests()[2].body, Not(HasSubstr("first question")));
}

TEST_F(ChatPartnerTest, ACancelEndsTheNextTurn) {
  partner_.cancel();
  EXPECT_NE(partner_.ask({"q"}).error, "");
  EXPECT_THAT(server_.requests(), IsEmpty());
  EXPECT_EQ(partner_.ask({"q"}).error, "");
}

TEST_F(ChatPartnerTest, ACancelThatCameTooLateForItsTurnCanBeDropped) {
  EXPECT_EQ(partner_.ask({"q"}).error, "");
  partner_.cancel();
  partner_.dropLateCancel();
  EXPECT_EQ(partner_.ask({"q"}).error, "");
  EXPECT_EQ(server_.requests().size(), 2U);
}

TEST_F(ChatPartnerTest, ACancelThatCameTooLateForAFailedTurnCanBeDropped) {
  server_.script({.status = 500, .body = "{}", .headers = {}});
  EXPECT_NE(partner_.ask({"q"}).error, "");
  partner_.cancel();
  partner_.dropLateCancel();
  EXPECT_EQ(partner_.ask({"q"}).error, "");
}

TEST_F(ChatPartnerTest, ACancelThatCameInTimeLeavesNothingToDrop) {
  partner_.dropLateCancel();
  EXPECT_THAT(server_.requests(), IsEmpty());
  EXPECT_EQ(partner_.ask({"q"}).error, "");
}

TEST_F(ChatPartnerTest, SettingsThatTheLibraryRefusesAreNamed) {
  auto setup = setupWith(kModel);
  setup.structureJson = "{";
  EXPECT_EQ(partner_.configure(setup), "The library refused these settings: db_structure");
}

TEST_F(ChatPartnerTest, ATextShowsNoSecretButIsNotMangledByShortOnes) {
  server_.script({.status = 500, .body = R"({"error":{"message":"a secret key, in short"}})", .headers = {}});
  EXPECT_EQ(partner_.ask({"q"}).error, "[redacted], in short");
}

TEST_F(ChatPartnerTest, ASavedConversationHoldsTheTurnsAndNoSettings) {
  EXPECT_EQ(partner_.saveConversation(), R"({"messages":[]})");
  server_.script(
      {.status = 200, .body = R"({"choices":[{"message":{"role":"assistant","content":"a"}}]})", .headers = {}});
  EXPECT_EQ(partner_.ask({"q"}).error, "");
  EXPECT_EQ(partner_.saveConversation(),
            R"({"messages":[{"role":"user","content":"q"},{"role":"assistant","content":"a"}]})");
}

TEST_F(ChatPartnerTest, ARefusedKeyIsToldFromOtherFailuresWithoutAFurtherRequest) {
  EXPECT_EQ(partner_.failureCode(), ExitCode::ServiceFailed);
  for (const auto& [status, code] :
       {std::pair{401, ExitCode::KeyRefused}, {403, ExitCode::KeyRefused}, {500, ExitCode::ServiceFailed}}) {
    server_.script({.status = status, .body = "{}", .headers = {}});
    EXPECT_NE(partner_.ask({"q"}).error, "");
    EXPECT_EQ(partner_.failureCode(), code) << status;
  }
  EXPECT_EQ(server_.requests().size(), 3U);
}

TEST_F(ChatPartnerTest, AKeyThatWasGoodOnceIsNotRefused) {
  EXPECT_EQ(partner_.ask({"q"}).error, "");
  server_.script({.status = 403, .body = "{}", .headers = {}});
  EXPECT_NE(partner_.ask({"q"}).error, "");
  EXPECT_EQ(partner_.failureCode(), ExitCode::ServiceFailed);
}

TEST_F(ChatPartnerTest, AKeyThatGotAReplyOfNoUseIsNotRefused) {
  server_.script({.status = 200, .body = "no JSON", .headers = {}});
  EXPECT_NE(partner_.ask({"q"}).error, "");
  server_.script({.status = 403, .body = "{}", .headers = {}});
  EXPECT_NE(partner_.ask({"q"}).error, "");
  EXPECT_EQ(partner_.failureCode(), ExitCode::ServiceFailed);
}

TEST_F(ChatPartnerTest, AConversationThatBeginsAnewWithoutARequestSaysNothingOfTheKey) {
  for (int turn = 0; turn < 2; ++turn) {
    server_.script({.status = 401, .body = "{}", .headers = {}});
    EXPECT_NE(partner_.ask({"q"}).error, "");
    EXPECT_EQ(partner_.failureCode(), ExitCode::KeyRefused);
    EXPECT_EQ(partner_.startConversation(), "");
  }
}

TEST_F(ChatPartnerTest, ACancelSaysNothingOfTheKey) {
  partner_.cancel();
  EXPECT_NE(partner_.ask({"q"}).error, "");
  EXPECT_EQ(partner_.failureCode(), ExitCode::ServiceFailed);
}

struct RefusalCase {
  const char* name;
  const char* provider;
  int status;
  const char* body;
  bool refused;
};

class RefusalOfAKey : public testing::TestWithParam<RefusalCase> {};

TEST_P(RefusalOfAKey, IsToldByTheReply) {
  standin::Server server;
  server.script({.status = GetParam().status, .body = GetParam().body, .headers = {}});
  ChatPartner partner(endpointAt(server, *findProvider(GetParam().provider)));
  EXPECT_NE(partner.listModels().second, "");
  EXPECT_EQ(partner.failureCode(), GetParam().refused ? ExitCode::KeyRefused : ExitCode::ServiceFailed);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, RefusalOfAKey,
    testing::Values(
        RefusalCase{"openai_unauthorized", "openai", 401, "{}", true},
        RefusalCase{"openai_unauthorized_without_a_body", "openai", 401, "", true},
        RefusalCase{"openai_forbidden", "openai", 403, "{}", true},
        RefusalCase{"openai_bad_request", "openai", 400, "{}", false},
        RefusalCase{"openai_bad_request_in_geminis_words", "openai", 400, "API key not valid", false},
        RefusalCase{"assistants_unauthorized", "openai-assistants", 401, "{}", true},
        RefusalCase{"deepseek_unauthorized", "deepseek", 401, "{}", true},
        RefusalCase{"deepseek_without_balance", "deepseek", 402, "{}", false},
        RefusalCase{"gemini_bad_key", "gemini", 400, R"({"error":{"message":"API key not valid. Please …"}})", true},
        RefusalCase{"gemini_old_key", "gemini", 400, R"({"error":{"message":"API key expired. Please …"}})", true},
        RefusalCase{"gemini_unknown_key", "gemini", 400, R"({"error":{"message":"API Key not found. …"}})", true},
        RefusalCase{"gemini_bad_key_without_a_message", "gemini", 400,
                    R"({"error":{"code":400,"details":[{"reason":"API_KEY_INVALID"}]}})", true},
        RefusalCase{"gemini_other_bad_request", "gemini", 400, "{}", false},
        RefusalCase{"gemini_forbidden", "gemini", 403, "{}", true},
        RefusalCase{"gemini_failure_in_these_words", "gemini", 500, "API key not valid", false},
        RefusalCase{"ollama_unauthorized", "ollama", 401, "{}", false}),
    [](const auto& row) { return std::string(row.param.name); });

/// A service that keeps the conversations.
class Keeper : public testing::Test {
 protected:
  void begin() {
    ASSERT_EQ(partner_->configure(setupWith(kModel)), "");
    ASSERT_EQ(partner_->startConversation(), "");
    ASSERT_THAT(requestLines(server_), ElementsAre("POST /v1/assistants", "POST /v1/threads"));
  }

  void letPass(int count) {
    for (int i = 0; i < count; ++i) server_.script({});
  }
  void failNext() { server_.script({.status = 500, .body = R"({"error":{"message":"no"}})", .headers = {}}); }

  /// Runs `act` with a service that does not reply to its request number `number`, and cancels that.
  void cancelRequest(std::size_t number, const std::function<void()>& act) {
    const std::size_t before = server_.requests().size();
    letPass(static_cast<int>(number) - 1);
    server_.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
    std::thread user([&] {
      while (server_.requests().size() < before + number) std::this_thread::yield();
      partner_->cancel();
    });
    act();
    user.join();
  }

  /// What is sent when the assistant goes.
  std::vector<std::string> farewell() {
    const std::size_t before = server_.requests().size();
    partner_.reset();
    return requestLines(server_, before);
  }

  standin::Server server_;
  std::optional<ChatPartner> partner_{std::in_place, endpointAt(server_, *findProvider("openai-assistants"))};
};

constexpr const char* kDeleteThread = "DELETE /v1/threads/thread_standin_1";
constexpr const char* kDeleteSecondThread = "DELETE /v1/threads/thread_standin_2";
constexpr const char* kDeleteAssistant = "DELETE /v1/assistants/asst_standin_1";

TEST_F(Keeper, IsLeftWithNothing) {
  begin();
  EXPECT_EQ(partner_->ask({"q"}).error, "");
  EXPECT_THAT(farewell(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeper, IsLeftWithNothingAfterAFailedTurn) {
  begin();
  failNext();
  EXPECT_EQ(partner_->ask({"q"}).error, "no");
  EXPECT_THAT(farewell(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeper, IsLeftWithNothingAfterACancelledRun) {
  begin();
  server_.scriptRun({.statuses = {"in_progress"}});
  cancelRequest(3, [this] { EXPECT_THAT(partner_->ask({"q"}).error, HasSubstr("cancelled")); });
  partner_->cancel();  // once more, too late
  EXPECT_THAT(farewell(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeper, IsLeftOnce) {
  begin();
  partner_->close();
  EXPECT_THAT(farewell(), IsEmpty());
}

TEST_F(Keeper, ThatRefusedTheAssistantIsAskedNothingMore) {
  failNext();
  EXPECT_EQ(partner_->configure(setupWith(kModel)), "no");
  EXPECT_THAT(farewell(), IsEmpty());
}

TEST_F(Keeper, ThatMadeAnAssistantButNoConversationIsLeftWithNothing) {
  ASSERT_EQ(partner_->configure(setupWith(kModel)), "");
  cancelRequest(1, [this] { EXPECT_THAT(partner_->startConversation(), HasSubstr("cancelled")); });
  EXPECT_THAT(farewell(), ElementsAre("POST /v1/threads", kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeper, BeginsAnewBeforeTheOldConversationEnds) {
  begin();
  EXPECT_EQ(partner_->startConversation(), "");
  EXPECT_THAT(requestLines(server_, 2), ElementsAre("POST /v1/threads", kDeleteThread));
  EXPECT_EQ(partner_->ask({"q"}).error, "");
  EXPECT_EQ(requestLines(server_, 4).front(), "POST /v1/threads/thread_standin_2/messages");
  EXPECT_THAT(farewell(), ElementsAre(kDeleteSecondThread, kDeleteAssistant));
}

TEST_F(Keeper, ThatCannotBeginAnewGoesOnWithTheOldConversation) {
  begin();
  failNext();
  EXPECT_EQ(partner_->startConversation(), "no");
  cancelRequest(1, [this] { EXPECT_THAT(partner_->startConversation(), HasSubstr("cancelled")); });
  EXPECT_EQ(partner_->ask({"q"}).error, "");
  EXPECT_EQ(requestLines(server_, 4).front(), "POST /v1/threads/thread_standin_1/messages");
  EXPECT_THAT(farewell(), ElementsAre(kDeleteThread, kDeleteAssistant));
}

TEST_F(Keeper, IsAskedAgainToForgetWhatItDidNotForgetAtOnce) {
  begin();
  cancelRequest(2, [this] { EXPECT_EQ(partner_->startConversation(), ""); });
  EXPECT_THAT(requestLines(server_, 2), ElementsAre("POST /v1/threads", kDeleteThread));
  EXPECT_THAT(farewell(), ElementsAre(kDeleteThread, kDeleteSecondThread, kDeleteAssistant));
}

TEST_F(Keeper, ChangesItsAssistantForOtherSettings) {
  begin();
  EXPECT_EQ(partner_->configure(setupWith("standin-large")), "");
  EXPECT_THAT(requestLines(server_, 2), ElementsAre("POST /v1/assistants/asst_standin_1"));
  EXPECT_THAT(server_.requests().back().body, HasSubstr(R"("model":"standin-large")"));
}

TEST_F(Keeper, ThatRefusesTheKeyIsToldFromOneThatFails) {
  for (const auto& [status, code] : {std::pair{401, ExitCode::KeyRefused}, {500, ExitCode::ServiceFailed}}) {
    server_.script({.status = status, .body = "{}", .headers = {}});
    EXPECT_NE(partner_->configure(setupWith(kModel)), "");
    EXPECT_EQ(partner_->failureCode(), code);
  }
  EXPECT_THAT(requestLines(server_), ElementsAre("POST /v1/assistants", "POST /v1/assistants"));
}

TEST_F(Keeper, ThatMadeTheAssistantHasTakenTheKey) {
  ASSERT_EQ(partner_->configure(setupWith(kModel)), "");
  server_.script({.status = 403, .body = "{}", .headers = {}});
  EXPECT_NE(partner_->startConversation(), "");
  EXPECT_EQ(partner_->failureCode(), ExitCode::ServiceFailed);
}

TEST_F(Keeper, OfAnAssistantWithARefusedSettingIsLeftWithNothing) {
  auto setup = setupWith(kModel);
  setup.structureJson = "{";
  EXPECT_THAT(partner_->configure(setup), HasSubstr("db_structure"));
  EXPECT_THAT(farewell(), ElementsAre("POST /v1/threads", kDeleteThread, kDeleteAssistant));
}

TEST(ChatPartnerOfOllama, TellsHowToStartAServerThatIsNotThere) {
  std::string address;
  {
    const standin::Server server;
    address = server.address();
  }
  ChatPartner partner(
      {.provider = findProvider("ollama"), .host = address, .apiKey = "", .secrets = {}, .settings = {}});
  const std::string error = partner.listModels().second;
  EXPECT_THAT(error, HasSubstr("connection refused. Start Ollama with 'ollama serve'"));
  EXPECT_THAT(error, HasSubstr("OLLAMA_HOST"));
}

TEST(ChatPartnerOfOllama, TellsNothingOfThatWhenTheServerFails) {
  standin::Server server;
  server.script({.status = 500, .body = R"({"error":{"message":"no memory"}})", .headers = {}});
  ChatPartner partner(
      {.provider = findProvider("ollama"), .host = server.address(), .apiKey = "", .secrets = {}, .settings = {}});
  EXPECT_EQ(partner.listModels().second,
            "The list of models at " + server.address() + "/api/tags can't be had: no memory");
  EXPECT_EQ(partner.failureCode(), ExitCode::ServiceFailed);
}

}  // namespace
