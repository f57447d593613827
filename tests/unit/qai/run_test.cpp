// How a run of the Assistants service is waited for, with a sleep that takes no time.
#include "qai_assistant_openai.h"
#include "support/host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <algorithm>
#include <atomic>
#include <numeric>

namespace {

using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

class Run : public testing::Test {
 protected:
  Run() {
    assign(*assistant_, {{"model", "standin-small"}});
    session_ = newSession(*assistant_);
  }

  /// Asks once, with a run that is told to be in `statuses`.
  std::string askWith(std::vector<std::string> statuses) {
    standin::RunScript script;
    script.statuses = std::move(statuses);
    script.lastError = R"({"code":"c","message":"m"})";
    standin_.scriptRun(script);
    return ask(*assistant_, session_.get(), "question");
  }

  std::ptrdiff_t pollCount() const {
    const auto requests = standin_.requests();
    return std::count_if(requests.begin(), requests.end(), [](const standin::Request& request) {
      return request.method == "GET" && request.path.find("/runs/") != std::string::npos;
    });
  }

  standin::Server standin_;
  std::vector<std::int64_t> sleeps_;
  std::function<void()> duringSleep_ = [] {};
  ICSHTTPPoolCenter* pool_ = CF::createHTTPPoolCenter();
  Owned<IQAIAssistant> assistant_{new QAIAssistant_OPENAI(pool_, standin_.address(), "key", [this](milliseconds time) {
    sleeps_.push_back(time.count());
    duringSleep_();
  })};
  Owned<IQAISession> session_;
};

TEST_F(Run, DoneAtOnceIsNotWaitedFor) {
  EXPECT_THAT(askWith({"completed"}), Not(StartsWith("error: ")));
  EXPECT_EQ(pollCount(), 1);
  EXPECT_THAT(sleeps_, ElementsAre());
}

TEST_F(Run, IntervalGrowsToASecond) {
  std::vector<std::string> statuses(9, "in_progress");
  statuses.emplace_back("completed");
  EXPECT_THAT(askWith(statuses), Not(StartsWith("error: ")));
  EXPECT_THAT(sleeps_, ElementsAre(250, 325, 422, 548, 712, 925, 1000, 1000, 1000));
}

TEST_F(Run, EachTurnStartsWithTheShortestInterval) {
  for (int turn = 0; turn < 2; ++turn) askWith({"queued", "queued", "completed"});
  EXPECT_THAT(sleeps_, ElementsAre(250, 325, 250, 325));
}

TEST_F(Run, ThatNeverEndsIsGivenUpAfterTheHundredAndSecondPoll) {
  EXPECT_EQ(askWith({"in_progress"}), "error: Timeout");
  EXPECT_EQ(pollCount(), 102);
  EXPECT_EQ(sleeps_.size(), 101U);
  EXPECT_EQ(std::accumulate(sleeps_.begin(), sleeps_.end(), std::int64_t{0}), 98182);
  EXPECT_THAT(standin_.requests().back().path, testing::HasSubstr("/runs/"));
}

TEST_F(Run, ThatEndsWithTheHundredAndSecondPollIsTakenAsItEnded) {
  std::vector<std::string> statuses(102, "in_progress");
  statuses.back() = "completed";
  EXPECT_THAT(askWith(statuses), Not(StartsWith("error: ")));
  statuses.back() = "failed";
  EXPECT_EQ(askWith(statuses), "error: c: m");
  EXPECT_EQ(pollCount(), 2 * 102);
}

TEST_F(Run, InAnyOtherStateIsPolledOn) {
  for (const std::string state :
       {"queued", "in_progress", "requires_action", "cancelling", "cancelled", "", "news", "Completed", "failed "}) {
    sleeps_.clear();
    EXPECT_THAT(askWith({state, "completed"}), Not(StartsWith("error: "))) << state;
    EXPECT_THAT(sleeps_, ElementsAre(250)) << state;
  }
}

TEST_F(Run, ThatIsCancelledAtTheServiceIsPolledToTheLast) {
  EXPECT_EQ(askWith({"cancelled"}), "error: Timeout");
  EXPECT_EQ(pollCount(), 102);
}

TEST_F(Run, ThatExpiresOrStaysIncompleteEndsAtOnce) {
  for (const std::string end : {"expired", "incomplete"}) EXPECT_EQ(askWith({"queued", end}), "error: Timeout");
  EXPECT_THAT(sleeps_, ElementsAre(250, 250));
}

TEST_F(Run, CancelDuringASleepEndsTheNextPollBeforeItIsSent) {
  duringSleep_ = [this] { pool_->cancel(); };
  EXPECT_EQ(askWith({"in_progress", "in_progress", "completed"}), "error: The request was cancelled");
  EXPECT_EQ(pollCount(), 1);
  EXPECT_THAT(sleeps_, ElementsAre(250));
}

TEST_F(Run, OfAServerWithoutStreamsIsPolledUntilTheHostStopsAndThenCancelled) {
  std::atomic<bool> stop{false};
  QAIStreamOptions options;
  options.stop = &stop;
  duringSleep_ = [&] { stop = sleeps_.size() == 5; };
  standin_.scriptRun({.statuses = {"in_progress"}});
  standin_.script({});
  standin_.script({.status = 200, .body = R"({"id":"run_standin_1","status":"queued"})"});
  EXPECT_EQ(askStreaming(*assistant_, session_.get(), "question", options).told, "error: Stopped");
  EXPECT_EQ(pollCount(), 4);
  EXPECT_THAT(sleeps_, ElementsAre(250, 325, 422, 500, 48));  // it is looked at twice a second
  EXPECT_THAT(standin_.requests().back().path, testing::EndsWith("/runs/run_standin_1/cancel"));
  stop = false;
  duringSleep_ = [] {};
  EXPECT_THAT(askStreaming(*assistant_, session_.get(), "question", options).told, Not(StartsWith("error: ")));
}

TEST_F(Run, OfAServerWithoutStreamsThatNeverEndsIsGivenUpAsEver) {
  standin_.scriptRun({.statuses = {"in_progress"}});
  standin_.script({});
  standin_.script({.status = 200, .body = R"({"id":"run_standin_1","status":"queued"})"});
  EXPECT_EQ(askStreaming(*assistant_, session_.get(), "question").told, "error: Timeout");
  EXPECT_EQ(pollCount(), 102);
}

TEST_F(Run, FreshRecordHasTheHostWithoutCountingItAsAssigned) {
  const auto& record = *static_cast<QAIAssistantProperties_OPENAI*>(assistant_->obtainAssistantProperties());
  EXPECT_EQ(record.apiHost, standin_.address());
  EXPECT_THAT(record.assignedKeys, ElementsAre("model"));
  assign(*assistant_, {{"api_host", standin_.address()}});
  EXPECT_THAT(record.assignedKeys, ElementsAre("api_host", "model"));
}

}  // namespace
