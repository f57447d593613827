// Answers in pieces, of every service.
#include "services/chat_partner.h"
#include "support/request_lines.h"
#include "support/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kSecret = "sk-proj-0123456789";
constexpr std::chrono::hours kForEver{1};

std::string joined(const std::vector<std::string>& pieces) {
  std::string text;
  for (const std::string& piece : pieces) text += piece;
  return text;
}

class PiecesOfAnswers : public testing::TestWithParam<TestedService> {
 protected:
  void SetUp() override {
    ASSERT_EQ(partner_.configure({.model = GetParam().model,
                                  .temperature = "",
                                  .instructions = "",
                                  .productName = "SQLite",
                                  .structureJson = "[]"}),
              "");
    ASSERT_EQ(partner_.startConversation(), "");
  }

  Answer ask(const std::string& question) {
    pieces_.clear();
    return partner_.askInPieces({question}, [this](std::string_view piece) { pieces_.emplace_back(piece); });
  }

  /// Asks with a service that says nothing to the last request of the turn, and cancels that.
  Answer askAndCancel(const std::string& question) {
    const std::size_t last = server_.requests().size() + (GetParam().keepsConversations ? 2 : 1);
    for (std::size_t i = server_.requests().size() + 1; i < last; ++i) server_.script({});
    standin::Script silence;
    silence.delay = kForEver;
    server_.script(silence);
    std::thread user([this, last] {
      while (server_.requests().size() < last) std::this_thread::yield();
      EXPECT_TRUE(partner_.cancel());
    });
    Answer answer = ask(question);
    user.join();
    partner_.dropLateCancel();
    return answer;
  }

  standin::Server server_;
  ChatPartner partner_{{.provider = findProvider(GetParam().provider),
                        .host = server_.address(),
                        .apiKey = kSecret,
                        .secrets = {kSecret},
                        .settings = {}}};
  std::vector<std::string> pieces_;
};
INSTANTIATE_TEST_SUITE_P(All, PiecesOfAnswers, testing::ValuesIn(allServices()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(PiecesOfAnswers, AreThoseOfTheText) {
  const Answer answer = ask("How many customers are there?");
  EXPECT_EQ(answer.error, "");
  EXPECT_NE(answer.text, "");
  EXPECT_EQ(joined(pieces_), answer.text);
  EXPECT_GT(pieces_.size(), 1U);
  EXPECT_GT(answer.tokens.in, 0);
  EXPECT_GT(answer.tokens.out, 0);
}

TEST_P(PiecesOfAnswers, HoldNoSecretThoughItComesInPieces) {
  const std::string question = std::string("Is it ") + kSecret + "?";
  ask(question);
  const Answer answer = ask("What did I ask before?");  // which the stand-in quotes
  EXPECT_EQ(answer.error, "");
  EXPECT_EQ(joined(pieces_), answer.text);
  EXPECT_THAT(answer.text, HasSubstr("Is it [redacted]?"));
}

TEST_P(PiecesOfAnswers, CanBeStoppedWithEveryServiceAndTheNextQuestionIsAnswered) {
  EXPECT_NE(askAndCancel("Will this end?").error, "");
  EXPECT_THAT(pieces_, ElementsAre());
  const Answer answer = ask("How many customers are there?");
  EXPECT_EQ(answer.error, "");
  EXPECT_NE(answer.text, "");
  if (GetParam().keepsConversations) return;
  EXPECT_THAT(server_.requests().back().body, Not(HasSubstr("Will this end?")));
}

TEST_P(PiecesOfAnswers, StopAtTheNextOneAfterACancel) {
  const Answer answer = partner_.askInPieces({"How many customers are there?"}, [this](std::string_view piece) {
    pieces_.emplace_back(piece);
    EXPECT_TRUE(partner_.cancel());
  });
  EXPECT_NE(answer.error, "");
  EXPECT_EQ(pieces_.size(), 1U);
  partner_.dropLateCancel();
  EXPECT_EQ(ask("How many orders are there?").error, "");
}

TEST_P(PiecesOfAnswers, DoNotComeAfterACancelThatWasNotDropped) {
  partner_.cancel();
  EXPECT_NE(ask("q").error, "");
  EXPECT_THAT(pieces_, ElementsAre());
  partner_.dropLateCancel();
  EXPECT_EQ(ask("q").error, "");
}

TEST(PiecesOfARun, LeaveNoRunBehindWhenTheyAreStopped) {
  standin::Server server;
  ChatPartner partner({.provider = findProvider("openai-assistants"),
                       .host = server.address(),
                       .apiKey = kSecret,
                       .secrets = {},
                       .settings = {}});
  ::Setup setup;
  setup.model = "standin-small";
  ASSERT_EQ(partner.settle(setup), "");
  ASSERT_EQ(partner.startConversation(), "");
  const Answer answer = partner.askInPieces({"q"}, [&partner](std::string_view) { partner.cancel(); });
  EXPECT_EQ(answer.error, "Stopped");
  EXPECT_THAT(requestLines(server, 2),
              ElementsAre("POST /v1/threads/thread_standin_1/messages", "POST /v1/threads/thread_standin_1/runs",
                          "POST /v1/threads/thread_standin_1/runs/run_standin_1/cancel"));
}

}  // namespace
