// Conversations that move from service to service.
#include "switchboard_fixture.h"

#include <string_view>
#include <utility>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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
    ASSERT_EQ(board_.ask({kQuestions[0]}).error, "");
  }

  void expectTheOldConversationGoesOn() {
    EXPECT_EQ(&board_.provider(), &profile("openai"));
    EXPECT_EQ(board_.model(), "standin-small");
    server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
    EXPECT_EQ(board_.ask({kQuestions[1]}).text, "noted");
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
  EXPECT_EQ(board_.ask({kQuestions[1]}).error, "");
  EXPECT_THAT(lastRequest("openai").body, HasSubstr(kQuestions[0]));
  EXPECT_THAT(lastRequest("openai").body, HasSubstr(R"("model":"standin-large")"));
}

TEST_F(Move, OfTheModelAloneKeepsTheConversationAndItsPlace) {
  refused_ = &provider("openai");  // the place is not chosen anew: a restored conversation's may be another
  EXPECT_EQ(board_.changeModel("standin-large"), "");
  EXPECT_EQ(board_.model(), "standin-large");
  EXPECT_EQ(server("openai").requests().size(), 1U);
  server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
  EXPECT_EQ(board_.ask({kQuestions[1]}).error, "");
  EXPECT_THAT(lastRequest("openai").body,
              testing::AllOf(HasSubstr(kQuestions[0]), HasSubstr(R"("model":"standin-large")"), HasSubstr("Be brief."),
                             HasSubstr(R"("temperature":0.7)")));
}

TEST_F(Move, OfTheModelToOneThatIsNotThereIsToldAndLeavesTheTurns) {
  EXPECT_EQ(board_.changeModel("nobody"), "");
  EXPECT_EQ(board_.ask({kQuestions[1]}).error,
            "The model `nobody` does not exist or you do not have access to it. The model is nobody; --model or, at a "
            "terminal, /model names another.");
  EXPECT_EQ(board_.changeModel("standin-small"), "");
  server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
  EXPECT_EQ(board_.ask({kQuestions[2]}).error, "");
  EXPECT_THAT(lastRequest("openai").body, testing::AllOf(HasSubstr(kQuestions[0]), Not(HasSubstr(kQuestions[1]))));
}

TEST_F(Move, AndBackKeepsAllTurns) {
  ASSERT_EQ(board_.moveTo(profile("ollama"), "m"), "");
  server("ollama").script(
      {.status = 200, .body = R"({"message":{"role":"assistant","content":"local"}})", .headers = {}});
  ASSERT_EQ(board_.ask({kQuestions[1]}).error, "");
  ASSERT_EQ(board_.moveTo(profile("openai"), "standin-small"), "");
  server("openai").script({.status = 200, .body = kCompletion, .headers = {}});
  ASSERT_EQ(board_.ask({kQuestions[2]}).error, "");
  for (const char* part : {kQuestions[0], kQuestions[1], "local", kQuestions[2]}) {
    EXPECT_THAT(lastRequest("openai").body, HasSubstr(part));
  }
}

TEST_F(Move, BeginsAnewAtTheNewService) {
  ASSERT_EQ(board_.moveTo(profile("deepseek"), "m"), "");
  EXPECT_EQ(board_.startConversation(), "");
  server("deepseek").script({.status = 200, .body = kCompletion, .headers = {}});
  EXPECT_EQ(board_.ask({kQuestions[1]}).error, "");
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

}  // namespace
