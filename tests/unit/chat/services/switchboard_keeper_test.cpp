// Conversations with a service that keeps them itself.
#include "switchboard_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// A conversation with the service that keeps conversations, one turn old.
class KeptMove : public SwitchboardTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(board_.open(), "");
    ASSERT_EQ(board_.ask({kQuestions[0]}).error, "");
    ASSERT_EQ(server(kKeeper).requests().size(), kBefore);
  }

  std::vector<std::string> sentSince() { return requestLines(server(kKeeper), kBefore); }

  void expectTheOldConversationGoesOn() {
    EXPECT_EQ(&board_.provider(), &profile(kKeeper));
    EXPECT_EQ(board_.model(), "standin-small");
    EXPECT_THAT(sentSince(), IsEmpty());
    EXPECT_EQ(board_.ask({kQuestions[1]}).error, "");
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
  EXPECT_EQ(board_.ask({kQuestions[1]}).error, "");
}

TEST_F(KeptMove, OfTheModelAloneChangesTheAssistantAndKeepsTheConversation) {
  EXPECT_EQ(board_.changeModel("standin-large"), "");
  EXPECT_THAT(sentSince(), ElementsAre("POST /v1/assistants/asst_standin_1"));
  EXPECT_EQ(board_.model(), "standin-large");
  EXPECT_EQ(board_.ask({kQuestions[1]}).error, "");
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
  EXPECT_THAT(board_.ask({"What did I ask before?"}).text, HasSubstr(kQuestions[0]));
}

TEST_F(KeptMove, ToAnotherModelThatIsRefusedLeavesEverything) {
  server(kKeeper).script({.status = 400, .body = R"({"error":{"message":"no such model"}})", .headers = {}});
  EXPECT_THAT(board_.moveTo(profile(kKeeper), "standin-large"), testing::StartsWith("no such model. "));
  EXPECT_EQ(board_.model(), "standin-small");
  EXPECT_THAT(board_.ask({"What did I ask before?"}).text, HasSubstr(kQuestions[0]));
}

TEST_F(KeptMove, OfAConversationThatTheServiceLostBeginsAnewWithAnotherAssistant) {
  server(kKeeper).forgetAssistants();
  EXPECT_THAT(board_.ask({kQuestions[1]}).error,
              HasSubstr(" OpenAI Assistants no longer has this conversation; at a terminal, /new begins another."));
  const std::size_t asked = server(kKeeper).requests().size();
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_THAT(requestLines(server(kKeeper), asked),
              ElementsAre("POST /v1/assistants/asst_standin_1", kCreateAssistant, kCreateThread, kDeleteThread));
  EXPECT_EQ(board_.model(), "standin-small");
  EXPECT_THAT(lastRequest(kKeeper, 3).body, testing::AllOf(HasSubstr("Be brief."), HasSubstr("CREATE TABLE `orders`")));
  EXPECT_THAT(board_.ask({"What did I ask before?"}).text, HasSubstr("No earlier question"));
  const std::size_t before = server(kKeeper).requests().size();
  board_.close();
  EXPECT_THAT(requestLines(server(kKeeper), before),
              ElementsAre("DELETE /v1/threads/thread_standin_2", "DELETE /v1/assistants/asst_standin_2"));
}

TEST_F(KeptMove, OfAConversationWhoseAssistantAloneIsLostBeginsAnewWithAnother) {
  server(kKeeper).script({});
  server(kKeeper).script({.status = 404, .body = R"({"error":{"message":"No assistant found"}})", .headers = {}});
  EXPECT_THAT(board_.ask({kQuestions[1]}).error, HasSubstr("No assistant found. OpenAI Assistants no longer has"));
  server(kKeeper).script({.status = 404, .body = R"({"error":{"message":"No assistant found"}})", .headers = {}});
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_EQ(board_.ask({kQuestions[2]}).error, "");
  EXPECT_EQ(sentSince().at(2), "POST /v1/assistants/asst_standin_1");
  EXPECT_EQ(sentSince().at(3), kCreateAssistant);
}

TEST_F(KeptMove, OfAConversationWhoseTurnFailedKeepsTheAssistantThatIsThere) {
  server(kKeeper).script({.status = 500, .body = R"({"error":{"message":"no"}})", .headers = {}});
  EXPECT_EQ(board_.ask({kQuestions[1]}).error, "no");
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_THAT(requestLines(server(kKeeper), kBefore + 1),
              ElementsAre("POST /v1/assistants/asst_standin_1", kCreateThread, kDeleteThread));
  EXPECT_EQ(board_.ask({kQuestions[2]}).error, "");
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_EQ(sentSince().at(sentSince().size() - 2), kCreateThread) << "all is well again";
}

TEST_F(KeptMove, OfALostConversationThatCannotBeMadeAnewIsTriedAgain) {
  server(kKeeper).forgetAssistants();
  EXPECT_NE(board_.ask({kQuestions[1]}).error, "");
  server(kKeeper).script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  EXPECT_EQ(board_.startConversation(), "overloaded");
  server(kKeeper).script({});
  server(kKeeper).script({.status = 503, .body = R"({"error":{"message":"overloaded"}})", .headers = {}});
  EXPECT_EQ(board_.startConversation(), "overloaded");
  EXPECT_EQ(board_.startConversation(), "");
  EXPECT_EQ(board_.ask({kQuestions[2]}).error, "");
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
  EXPECT_EQ(board.ask({kQuestions[1]}).error, "");
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
