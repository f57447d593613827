// Conversations that move from service to service.
#include "services/switchboard.h"

#include "support/request_lines.h"
#include "support/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const Provider& provider(const char* name) { return *findProvider(name); }
const ProviderProfile& profile(const char* name) { return obtainProfile(provider(name)); }

constexpr const char* kKeeper = "openai-assistants";  // keeps the conversations
constexpr const char* kQuestions[] = {"first question", "second question", "third question"};
constexpr const char* kReply = "two parts";  // the table's

constexpr const char* kCompletion = R"({"choices":[{"message":{"role":"assistant","content":"noted"}}]})";
/// `part` up to the end of `mark`, which stands in it.
std::string upTo(std::string_view mark, std::string_view part) {
  return std::string(part.substr(0, part.find(mark) + mark.size()));
}

/// What a request holds that has the two first turns behind it, instructions and a temperature of 0.7.
std::vector<std::string> partsOfTheThirdTurn(const TestedService& service) {
  const std::string instructions = service.instructionsPart;
  return {upTo("0.7", service.temperaturePart), instructions.substr(0, instructions.find("I\\n\\n")) + "Be brief.",
          historyPart(service, {kQuestions[0], kReply, kQuestions[1], kReply, kQuestions[2]}) + "]"};
}

/// A service per provider, with a key of its own, which knows the models that are named here.
class SwitchboardTest : public testing::Test {
 protected:
  Endpoint choose(const Provider& wanted) const {
    if (refused_ == &wanted) throw HostError("no such place");
    return {.provider = &wanted,
            .host = servers_.at(&wanted).address(),
            .apiKey = keyOf(wanted),
            .secrets = {},
            .settings = {}};
  }

  static std::string keyOf(const Provider& wanted) { return std::string(wanted.name) + "-key"; }

  Switchboard open(const char* first) {
    const ::Setup setup{.model = "standin-small",
                        .temperature = "0.7",
                        .instructions = "Be brief.",
                        .productName = "SQLite",
                        .structureJson = R"([{"schemas":[{"tables":[{"name":"orders","fields":[]}]}]}])"};
    return {provider(first), [this](const Provider& wanted) { return choose(wanted); }, setup, err_};
  }

  standin::Server& server(const char* name) { return servers_[&provider(name)]; }
  standin::Request lastRequest(const char* name, std::ptrdiff_t fromTheEnd = 1) {
    const auto requests = server(name).requests();
    return *(requests.end() - fromTheEnd);
  }

  std::string ask(Switchboard& board, const TestedService& asked, const char* question) {
    server(asked.provider).script({.status = 200, .body = asked.replyBody, .headers = {}});
    const Answer answer = board.ask(question);
    EXPECT_EQ(answer.error, "");
    return answer.text;
  }

  /// Runs `act`, and calls it off when `asked` has got its request number `count`.
  static void cancelAt(Switchboard& board, const standin::Server& asked, std::size_t count,
                       const std::function<void()>& act) {
    std::thread user([&] {
      while (asked.requests().size() < count) std::this_thread::yield();
      EXPECT_TRUE(board.cancel());
    });
    act();
    user.join();
    board.dropLateCancel();
  }

  static std::string everything(const standin::Request& request) {
    std::string text = request.path + " " + request.body;
    for (const auto& [name, value] : request.headers) text += " " + name + ": " + value;
    for (const auto& [name, value] : request.query) text += " " + name + "=" + value;
    return text;
  }

  std::map<const Provider*, standin::Server> servers_ = makeServers();
  const Provider* refused_ = nullptr;
  std::ostringstream err_;

 private:
  static std::map<const Provider*, standin::Server> makeServers() {
    std::map<const Provider*, standin::Server> servers;
    for (const Provider& any : kProviders) servers.try_emplace(&any);
    return servers;
  }
};

class EveryMove : public SwitchboardTest,
                  public testing::WithParamInterface<std::pair<TestedService, TestedService>> {};

TEST_P(EveryMove, BringsHistoryAndSettingsInTheNewServicesFormat) {
  const auto& [from, to] = GetParam();
  Switchboard board = open(from.provider);
  ASSERT_EQ(board.open(), "");
  EXPECT_EQ(ask(board, from, kQuestions[0]), kReply);
  EXPECT_EQ(ask(board, from, kQuestions[1]), kReply);
  ASSERT_EQ(board.moveTo(profile(to.provider), "standin-large"), "");
  EXPECT_EQ(ask(board, to, kQuestions[2]), kReply);

  EXPECT_EQ(server(from.provider).requests().size(), 2U) << "the old service is asked nothing more";
  ASSERT_EQ(server(to.provider).requests().size(), 1U);
  const standin::Request request = lastRequest(to.provider);
  EXPECT_EQ(request.path, withModel(to, to.chatPath, "standin-large"));
  for (const std::string& part : partsOfTheThirdTurn(to)) EXPECT_THAT(request.body, HasSubstr(part));
  EXPECT_THAT(request.body, HasSubstr("CREATE TABLE `orders`"));
  EXPECT_THAT(request.path + request.body, HasSubstr("standin-large"));
  const std::string all = everything(request);
  EXPECT_THAT(all, Not(HasSubstr(keyOf(provider(from.provider)))));
  EXPECT_THAT(all, Not(HasSubstr("standin-small")));
  EXPECT_EQ(all.find(keyOf(provider(to.provider))) != std::string::npos, provider(to.provider).usesKey());
}

std::vector<std::pair<TestedService, TestedService>> makePairs() {
  std::vector<std::pair<TestedService, TestedService>> pairs;
  for (const TestedService& from : chatServices()) {
    for (const TestedService& to : chatServices()) {
      if (&from != &to) pairs.emplace_back(from, to);
    }
  }
  return pairs;
}

INSTANTIATE_TEST_SUITE_P(Pairs, EveryMove, testing::ValuesIn(makePairs()), [](const auto& row) {
  return std::string(row.param.first.name) + "_to_" + row.param.second.name;
});

class Move : public SwitchboardTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(board_.open(), "");
    server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
    ASSERT_EQ(board_.ask(kQuestions[0]).error, "");
  }

  void expectTheOldConversationGoesOn() {
    EXPECT_EQ(&board_.provider(), &profile("openai"));
    EXPECT_EQ(board_.model(), "standin-small");
    server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
    EXPECT_EQ(board_.ask(kQuestions[1]).text, "noted");
    EXPECT_EQ(server("openai").requests().size(), 2U);
    EXPECT_THAT(lastRequest("openai").body, HasSubstr(kQuestions[0]));
    EXPECT_THAT(lastRequest("openai").body, HasSubstr(R"("model":"standin-small")"));
  }

  Switchboard board_ = open("openai");
};

TEST_F(Move, WithoutAModelTakesTheFirstThatIsListed) {
  server("deepseek")
      .script({.status = 200,
               .body = R"({"data":[{"id":"a","object":"model"},{"id":"b","object":"model"}]})",
               .headers = {}});
  EXPECT_EQ(board_.moveTo(profile("deepseek"), ""), "");
  EXPECT_EQ(&board_.provider(), &profile("deepseek"));
  EXPECT_EQ(board_.model(), "a");
}

TEST_F(Move, ToAnotherModelOfTheSameServiceKeepsTheConversation) {
  EXPECT_EQ(board_.moveTo(profile("openai"), "standin-large"), "");
  server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
  EXPECT_EQ(board_.ask(kQuestions[1]).error, "");
  EXPECT_THAT(lastRequest("openai").body, HasSubstr(kQuestions[0]));
  EXPECT_THAT(lastRequest("openai").body, HasSubstr(R"("model":"standin-large")"));
}

TEST_F(Move, OfTheModelAloneKeepsTheConversationAndItsPlace) {
  refused_ = &provider("openai");  // the place is not chosen anew: a restored conversation's may be another
  EXPECT_EQ(board_.changeModel("standin-large"), "");
  EXPECT_EQ(board_.model(), "standin-large");
  EXPECT_EQ(server("openai").requests().size(), 1U);
  server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
  EXPECT_EQ(board_.ask(kQuestions[1]).error, "");
  EXPECT_THAT(lastRequest("openai").body,
              testing::AllOf(HasSubstr(kQuestions[0]), HasSubstr(R"("model":"standin-large")"), HasSubstr("Be brief."),
                             HasSubstr(R"("temperature":0.7)")));
}

TEST_F(Move, OfTheModelToOneThatIsNotThereIsToldAndLeavesTheTurns) {
  EXPECT_EQ(board_.changeModel("nobody"), "");
  EXPECT_EQ(board_.ask(kQuestions[1]).error,
            "The model `nobody` does not exist or you do not have access to it. The model is nobody; --model or, at a "
            "terminal, /model names another.");
  EXPECT_EQ(board_.changeModel("standin-small"), "");
  server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
  EXPECT_EQ(board_.ask(kQuestions[2]).error, "");
  EXPECT_THAT(lastRequest("openai").body, testing::AllOf(HasSubstr(kQuestions[0]), Not(HasSubstr(kQuestions[1]))));
}

TEST_F(Move, AndBackKeepsAllTurns) {
  ASSERT_EQ(board_.moveTo(profile("ollama"), "m"), "");
  server("ollama").script(
      {.status = 200, .body = R"({"message":{"role":"assistant","content":"local"}})", .headers = {}});
  ASSERT_EQ(board_.ask(kQuestions[1]).error, "");
  ASSERT_EQ(board_.moveTo(profile("openai"), "standin-small"), "");
  server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
  ASSERT_EQ(board_.ask(kQuestions[2]).error, "");
  for (const char* part : {kQuestions[0], kQuestions[1], "local", kQuestions[2]}) {
    EXPECT_THAT(lastRequest("openai").body, HasSubstr(part));
  }
}

TEST_F(Move, BeginsAnewAtTheNewService) {
  ASSERT_EQ(board_.moveTo(profile("deepseek"), "m"), "");
  EXPECT_EQ(board_.startConversation(), "");
  server("deepseek").script({.status = 200, .body = kCompletion, .headers = {}});
  EXPECT_EQ(board_.ask(kQuestions[1]).error, "");
  EXPECT_THAT(lastRequest("deepseek").body, Not(HasSubstr(kQuestions[0])));
}

TEST_F(Move, ToAServiceThatListsNoModelsLeavesEverything) {
  server("ollama").script({.status = 200, .body = R"({"models":[]})", .headers = {}});
  EXPECT_THAT(board_.moveTo(profile("ollama"), ""),
              testing::AllOf(HasSubstr("offers no models"), HasSubstr("ollama pull")));
  expectTheOldConversationGoesOn();
}

TEST_F(Move, ToAServiceThatFailsLeavesEverything) {
  server("gemini").script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  EXPECT_EQ(board_.moveTo(profile("gemini"), ""), "The list of models at " + server("gemini").address() +
                                                      "/v1beta/models can't be had: overloaded. --model NAME needs no "
                                                      "list.");
  expectTheOldConversationGoesOn();
}

TEST_F(Move, ToAServiceThatCannotBeChosenLeavesEverything) {
  refused_ = &provider("gemini");
  EXPECT_EQ(board_.moveTo(profile("gemini"), ""), "no such place");
  expectTheOldConversationGoesOn();
}

TEST_F(Move, CanBeCalledOff) {
  server("deepseek").script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  cancelAt(board_, server("deepseek"), 1, [this] { EXPECT_NE(board_.moveTo(profile("deepseek"), ""), ""); });
  EXPECT_EQ(server("openai").requests().size(), 1U);
  expectTheOldConversationGoesOn();
}

TEST_F(Move, ToOllamaLeavesNothingToCallOff) {
  EXPECT_TRUE(board_.cancel());
  board_.dropLateCancel();
  ASSERT_EQ(board_.moveTo(profile("ollama"), "m"), "");
  EXPECT_FALSE(board_.cancel());
  board_.dropLateCancel();
  EXPECT_THAT(server("ollama").requests(), IsEmpty());
}

constexpr const char* kCreateAssistant = "POST /v1/assistants";
constexpr const char* kCreateThread = "POST /v1/threads";
constexpr const char* kDeleteThread = "DELETE /v1/threads/thread_standin_1";
constexpr const char* kDeleteAssistant = "DELETE /v1/assistants/asst_standin_1";

TEST_F(Move, ToAKeeperThatFailsLeavesEverythingAndNothingThere) {
  server(kKeeper).script({});
  server(kKeeper).script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  EXPECT_EQ(board_.moveTo(profile(kKeeper), "standin-large"), "overloaded");
  EXPECT_THAT(requestLines(server(kKeeper)),
              ElementsAre(kCreateAssistant, kCreateThread, kCreateThread, kDeleteThread, kDeleteAssistant));
  expectTheOldConversationGoesOn();
}

TEST_F(Move, ToAKeeperCanBeCalledOffWhileTheAssistantIsMade) {
  server(kKeeper).script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  cancelAt(board_, server(kKeeper), 1, [this] { EXPECT_NE(board_.moveTo(profile(kKeeper), "standin-large"), ""); });
  EXPECT_THAT(requestLines(server(kKeeper)), ElementsAre(kCreateAssistant));
  expectTheOldConversationGoesOn();
}

/// A conversation with the service that keeps conversations, one turn old.
class KeptMove : public SwitchboardTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(board_.open(), "");
    ASSERT_EQ(board_.ask(kQuestions[0]).error, "");
    ASSERT_EQ(server(kKeeper).requests().size(), kBefore);
  }

  std::vector<std::string> sentSince() { return requestLines(server(kKeeper), kBefore); }

  void expectTheOldConversationGoesOn() {
    EXPECT_EQ(&board_.provider(), &profile(kKeeper));
    EXPECT_EQ(board_.model(), "standin-small");
    EXPECT_THAT(sentSince(), IsEmpty());
    EXPECT_EQ(board_.ask(kQuestions[1]).error, "");
    EXPECT_EQ(sentSince().front(), "POST /v1/threads/thread_standin_1/messages");
  }

  static constexpr std::size_t kBefore = 6;  // assistant, thread, message, run, its end, its messages
  Switchboard board_ = open(kKeeper);
};

TEST_F(KeptMove, ThatFailsLeavesEverything) {
  server("gemini").script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  EXPECT_EQ(board_.moveTo(profile("gemini"), ""), "The list of models at " + server("gemini").address() +
                                                      "/v1beta/models can't be had: overloaded. --model NAME needs no "
                                                      "list.");
  expectTheOldConversationGoesOn();
}

TEST_F(KeptMove, ToAModelThatIsNotThereLeavesEverything) {
  EXPECT_THAT(board_.changeModel("nobody"),
              testing::AllOf(HasSubstr("nobody"), HasSubstr("The model is nobody; --model or")));
  EXPECT_EQ(board_.model(), "standin-small");
  EXPECT_EQ(board_.ask(kQuestions[1]).error, "");
}

TEST_F(KeptMove, OfTheModelAloneChangesTheAssistantAndKeepsTheConversation) {
  EXPECT_EQ(board_.changeModel("standin-large"), "");
  EXPECT_THAT(sentSince(), ElementsAre("POST /v1/assistants/asst_standin_1"));
  EXPECT_EQ(board_.model(), "standin-large");
  EXPECT_EQ(board_.ask(kQuestions[1]).error, "");
  EXPECT_EQ(sentSince().at(1), "POST /v1/threads/thread_standin_1/messages");
}

TEST_F(KeptMove, CanBeCalledOff) {
  server("gemini").script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  cancelAt(board_, server("gemini"), 1, [this] { EXPECT_NE(board_.moveTo(profile("gemini"), ""), ""); });
  expectTheOldConversationGoesOn();
}

TEST_F(KeptMove, IsDoneWhenOnlyTheFarewellIsCalledOff) {
  server(kKeeper).script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  cancelAt(board_, server(kKeeper), kBefore + 1, [this] { EXPECT_EQ(board_.moveTo(profile("ollama"), "m"), ""); });
  EXPECT_EQ(&board_.provider(), &profile("ollama"));
  EXPECT_THAT(sentSince(), ElementsAre(kDeleteThread));
}

TEST_F(KeptMove, ToAnotherModelChangesTheAssistantAndKeepsTheConversation) {
  EXPECT_EQ(board_.moveTo(profile(kKeeper), "standin-large"), "");
  EXPECT_EQ(board_.model(), "standin-large");
  EXPECT_THAT(sentSince(), ElementsAre("POST /v1/assistants/asst_standin_1"));
  EXPECT_THAT(lastRequest(kKeeper).body, HasSubstr(R"("model":"standin-large")"));
  EXPECT_THAT(board_.ask("What did I ask before?").text, HasSubstr(kQuestions[0]));
}

TEST_F(KeptMove, ToAnotherModelThatIsRefusedLeavesEverything) {
  server(kKeeper).script({.status = 400, .body = R"({"error":{"message":"no such model"}})", .headers = {}});
  EXPECT_THAT(board_.moveTo(profile(kKeeper), "standin-large"), testing::StartsWith("no such model. "));
  EXPECT_EQ(board_.model(), "standin-small");
  EXPECT_THAT(board_.ask("What did I ask before?").text, HasSubstr(kQuestions[0]));
}

TEST_F(KeptMove, OfAConversationThatTheServiceLostBeginsAnewWithAnotherAssistant) {
  server(kKeeper).forgetAssistants();
  EXPECT_THAT(board_.ask(kQuestions[1]).error,
              HasSubstr(" OpenAI Assistants no longer has this conversation; at a terminal, /new begins another."));
  const std::size_t asked = server(kKeeper).requests().size();
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_THAT(requestLines(server(kKeeper), asked),
              ElementsAre("POST /v1/assistants/asst_standin_1", kCreateAssistant, kCreateThread, kDeleteThread));
  EXPECT_EQ(board_.model(), "standin-small");
  EXPECT_THAT(lastRequest(kKeeper, 3).body, testing::AllOf(HasSubstr("Be brief."), HasSubstr("CREATE TABLE `orders`")));
  EXPECT_THAT(board_.ask("What did I ask before?").text, HasSubstr("No earlier question"));
  const std::size_t before = server(kKeeper).requests().size();
  board_.close();
  EXPECT_THAT(requestLines(server(kKeeper), before),
              ElementsAre("DELETE /v1/threads/thread_standin_2", "DELETE /v1/assistants/asst_standin_2"));
}

TEST_F(KeptMove, OfAConversationWhoseAssistantAloneIsLostBeginsAnewWithAnother) {
  server(kKeeper).script({});
  server(kKeeper).script({.status = 404, .body = R"({"error":{"message":"No assistant found"}})", .headers = {}});
  EXPECT_THAT(board_.ask(kQuestions[1]).error, HasSubstr("No assistant found. OpenAI Assistants no longer has"));
  server(kKeeper).script({.status = 404, .body = R"({"error":{"message":"No assistant found"}})", .headers = {}});
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_EQ(board_.ask(kQuestions[2]).error, "");
  EXPECT_EQ(sentSince().at(2), "POST /v1/assistants/asst_standin_1");
  EXPECT_EQ(sentSince().at(3), kCreateAssistant);
}

TEST_F(KeptMove, OfAConversationWhoseTurnFailedKeepsTheAssistantThatIsThere) {
  server(kKeeper).script({.status = 500, .body = R"({"error":{"message":"no"}})", .headers = {}});
  EXPECT_EQ(board_.ask(kQuestions[1]).error, "no");
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_THAT(requestLines(server(kKeeper), kBefore + 1),
              ElementsAre("POST /v1/assistants/asst_standin_1", kCreateThread, kDeleteThread));
  EXPECT_EQ(board_.ask(kQuestions[2]).error, "");
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_EQ(sentSince().at(sentSince().size() - 2), kCreateThread) << "all is well again";
}

TEST_F(KeptMove, OfALostConversationThatCannotBeMadeAnewIsTriedAgain) {
  server(kKeeper).forgetAssistants();
  EXPECT_NE(board_.ask(kQuestions[1]).error, "");
  server(kKeeper).script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  EXPECT_EQ(board_.startConversation(), "overloaded");
  server(kKeeper).script({});
  server(kKeeper).script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  EXPECT_EQ(board_.startConversation(), "overloaded");
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_EQ(board_.ask(kQuestions[2]).error, "");
}

class KeptMoveAndBack : public SwitchboardTest, public testing::WithParamInterface<TestedService> {};

TEST_P(KeptMoveAndBack, BeginsAnewEachTimeAndLeavesNothingThere) {
  const TestedService& other = GetParam();
  Switchboard board = open(other.provider);
  ASSERT_EQ(board.open(), "");
  ask(board, other, kQuestions[0]);
  ASSERT_EQ(board.moveTo(profile(kKeeper), "standin-large"), "");
  EXPECT_THAT(requestLines(server(kKeeper)), ElementsAre(kCreateAssistant, kCreateThread));
  const std::string assistant = lastRequest(kKeeper, 2).body;
  for (const char* part : {"Be brief.", R"("temperature":0.7)", "CREATE TABLE `orders`", "standin-large"}) {
    EXPECT_THAT(assistant, HasSubstr(part));
  }
  EXPECT_EQ(board.ask(kQuestions[1]).error, "");
  const std::size_t asked = server(kKeeper).requests().size();

  ASSERT_EQ(board.moveTo(profile(other.provider), "standin-large"), "");
  EXPECT_THAT(requestLines(server(kKeeper), asked), ElementsAre(kDeleteThread, kDeleteAssistant));
  ask(board, other, kQuestions[2]);
  EXPECT_THAT(lastRequest(other.provider).body, HasSubstr(kQuestions[2]));
  for (const char* question : {kQuestions[0], kQuestions[1]}) {
    EXPECT_THAT(lastRequest(other.provider).body, Not(HasSubstr(question)));
  }
  for (const standin::Request& request : server(kKeeper).requests()) {
    EXPECT_THAT(everything(request), Not(HasSubstr(kQuestions[0])));
    EXPECT_THAT(everything(request), Not(HasSubstr(keyOf(provider(other.provider)))));
  }
}

INSTANTIATE_TEST_SUITE_P(Services, KeptMoveAndBack, testing::ValuesIn(chatServices()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
