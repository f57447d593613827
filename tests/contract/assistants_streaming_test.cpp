// The Assistants service's turns as streams: they come to what turns come to whose runs are polled.
#include "assistants_fixture.h"
#include "support/assertion_log.h"
#include "support/streams.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kEndOfRun = R"({"id":"run_standin_1","status":"completed"})";
constexpr const char* kCancel = "POST /v1/threads/id/runs/id/cancel";

/// What a host gets of a turn.
struct Turned {
  std::vector<std::string> sections = {};
  std::int64_t time = 0;
  std::uint32_t role = 0;
  std::string error = {};
  std::string saved = {};  // the session afterwards
  bool operator==(const Turned&) const = default;
};
void PrintTo(const Turned& turned, std::ostream* out) {
  *out << testing::PrintToString(turned.sections) << " of " << turned.time << ", error \"" << turned.error << "\", "
       << turned.saved;
}

Turned turnedOf(const std::pair<IQAIMessage*, std::string>& result, const IQAISession& session) {
  const Owned<IQAIMessage> reply(result.first);
  Turned turned{.error = result.second, .saved = session.obtainSessionData()};
  if (reply == nullptr) return turned;
  for (const IQAIMessageSection* section : reply->obtainSections()) turned.sections.emplace_back(section->obtainText());
  turned.time = reply->obtainCreatedTime();
  turned.role = reply->obtainRole();
  return turned;
}

standin::Script asStream(const std::string& body) {
  return {.status = 200, .body = body, .contentType = "text/event-stream"};
}

class AssistantsStreaming : public Assistants {
 protected:
  Turned ask() { return turnedOf(assistant_->addMessage(session_.get(), "question"), *session_); }
  Turned askStreamed(const QAIStreamOptions& options = {}) {
    pieces_.clear();
    const auto sink = [this](std::string_view piece) {
      pieces_.emplace_back(piece);
      return !isEnough_ || !isEnough_();
    };
    return turnedOf(streaming().addMessageStreaming(session_.get(), "question", options, sink), *session_);
  }
  IQAIStreaming& streaming() { return *qaiExtension<IQAIStreaming>(assistant_.get()); }

  /// The next run of the service is in this state for ever, whatever its stream says.
  void scriptRunIn(const std::string& state) { standin_.scriptRun({.statuses = {state}, .contents = {{}}}); }
  /// The reply to the next turn's request for a run.
  void streamNext(standin::Script reply) {
    letPass(1);
    standin_.script(std::move(reply));
  }
  /// That the conversation takes a further question.
  void expectNextTurn() {
    isEnough_ = nullptr;
    EXPECT_EQ(askStreamed().error, "");
    EXPECT_THAT(pieces_, Not(IsEmpty()));
  }

  Owned<IQAIAssistant> assistant_ = assistantWith();
  Owned<IQAISession> session_ = newSession(*assistant_);
  std::vector<std::string> pieces_;
  std::function<bool()> isEnough_;
};

TEST_F(AssistantsStreaming, IsTwoRequestsAndTheRunsText) {
  const Turned turned = askStreamed();
  EXPECT_EQ(turned.error, "");
  EXPECT_THAT(turned.sections, ElementsAre(testing::StrNe("")));
  EXPECT_EQ(turned.role, 1U);
  std::string joined;
  for (const std::string& piece : pieces_) joined += piece;
  EXPECT_EQ(joined, turned.sections.at(0));
  EXPECT_THAT(wireBehind(2), ElementsAre("POST /v1/threads/id/messages", "POST /v1/threads/id/runs"));
  const standin::Request run = standin_.requests().back();
  EXPECT_EQ(run.body, R"({"assistant_id":")" + savedText(*session_, "assistant_id") + R"(","stream":true})");
  EXPECT_EQ(run.header("Accept"), "text/event-stream");
  EXPECT_EQ(run.header("OpenAI-Beta"), "assistants=v2");
}

TEST_F(AssistantsStreaming, ConversationGoesOnInBothWays) {
  askStreamed();
  ask();
  standin_.scriptRun({});
  const auto [message, error] = assistant_->addMessage(session_.get(), "What did I ask before?");
  const Owned<IQAIMessage> reply(message);
  EXPECT_EQ(error, "");
  ASSERT_NE(reply, nullptr);
  EXPECT_THAT(std::string(reply->obtainSections().at(0)->obtainText()), HasSubstr("question"));
}

TEST_F(AssistantsStreaming, RefusesWhatAddMessageRefusesAndSendsNothing) {
  const std::size_t before = requestCount();
  EXPECT_EQ(askStreaming(*assistant_, nullptr, "question").told, "error: Session is empty");
  EXPECT_EQ(askStreaming(*assistant_, session_.get(), "").told, "error: Session is empty");
  EXPECT_EQ(requestCount(), before);
}

std::string message(std::string_view members) { return R"({"data":[{)" + std::string(members) + "}]}"; }
std::string textPart(std::string_view value) {
  return R"({"type":"text","text":{"value":")" + std::string(value) + R"(","annotations":[]}})";
}

TEST_F(AssistantsStreaming, MessageIsTheSameAsOfAPolledRun) {
  const AssertionLog log;  // of what a list holds that is no text
  const std::string image = R"({"type":"image_file","image_file":{"file_id":"f"}})";
  for (const std::string& list :
       {message(R"("created_at":1700000000,"content":[)" + textPart("Größe 😊 und mehr") + "]"),
        message(R"("created_at":10.9,"content":[)" + textPart("one") + "," + textPart("") + "," + textPart("two") +
                "]"),
        message(R"("created_at":20,"content":[)" + textPart("one") + "," + image + "," + textPart("two") + "]"),
        message(R"("created_at":30,"content":[])"), std::string(R"({"data":[]})")}) {
    letPass(3);
    answerNext(200, list);
    const Turned polled = ask();
    streamNext(asStream(streamOfRun(kEndOfRun, list)));
    EXPECT_EQ(askStreamed(), polled) << list;
    EXPECT_EQ(polled.error, "") << list;
  }
}

TEST_F(AssistantsStreaming, MessageWithoutPiecesIsHandedOnWhole) {
  streamNext(asStream("event: thread.message.completed\ndata: " +
                      (R"({"id":"m","created_at":7,"content":[)" + textPart("one") + "," + textPart("two") + "]}") +
                      "\n\n" + streamOfRun(kEndOfRun, R"({"data":[]})")));
  const Turned turned = askStreamed();
  EXPECT_EQ(turned.error, "");
  EXPECT_THAT(turned.sections, ElementsAre("one", "two"));
  EXPECT_EQ(turned.time, 7);
  EXPECT_THAT(pieces_, ElementsAre("onetwo"));
}

TEST_F(AssistantsStreaming, MessagesAreInTheOrderInWhichTheyCome) {
  standin::RunScript run;
  run.contents = {"[" + textPart("a") + "," + textPart("b") + "]", "[" + textPart("c") + "]"};
  standin_.scriptRun(run);
  EXPECT_THAT(askStreamed().sections, ElementsAre("a", "b", "c"));
  standin_.scriptRun(run);
  EXPECT_THAT(ask().sections, ElementsAre("c", "a", "b"));  // the service lists the newest message first
}

/// How a run ends, and what a host is told of it.
struct EndRow {
  const char* name;
  const char* state;
  std::optional<std::string> lastError;
  const char* error;
  bool isPolledToTheLast = false;
};
void PrintTo(const EndRow& row, std::ostream* out) { *out << row.name; }

class StreamedEnd : public AssistantsStreaming, public testing::WithParamInterface<EndRow> {};

TEST_P(StreamedEnd, IsToldAtOnceAndTheNextTurnWorks) {
  const EndRow& row = GetParam();
  const standin::RunScript run{.statuses = {"in_progress", row.state}, .lastError = row.lastError};
  standin_.scriptRun(run);
  const std::string before = session_->obtainSessionData();
  const Turned streamed = askStreamed();
  EXPECT_EQ(streamed, (Turned{.error = row.error, .saved = before}));
  const bool isWaiting = row.state == std::string("requires_action");
  EXPECT_EQ(wireBehind(4), isWaiting ? std::vector<std::string>{kCancel} : std::vector<std::string>());
  expectNextTurn();
  if (row.isPolledToTheLast) return;
  standin_.scriptRun(run);
  EXPECT_EQ(ask(), streamed);
}

INSTANTIATE_TEST_SUITE_P(States, StreamedEnd,
                         testing::Values(EndRow{"failed", "failed",
                                                R"({"code":"rate_limit_exceeded","message":"Slow down"})",
                                                "rate_limit_exceeded: Slow down"},
                                         EndRow{"failed_for_no_reason", "failed", "null",
                                                "Unsupported data format: p/v1/threads/id/runs/id"},
                                         EndRow{"failed_without_a_message", "failed", R"({"code":"server_error"})",
                                                "Unsupported data format: p/v1/threads/id/runs/id"},
                                         EndRow{"failed_without_words", "failed", R"({"code":"","message":""})", ": "},
                                         EndRow{"expired", "expired", {}, "Timeout"},
                                         EndRow{"incomplete", "incomplete", {}, "Timeout"},
                                         EndRow{"cancelled", "cancelled", {}, "Timeout", true},
                                         EndRow{"requires_action", "requires_action", {}, "Timeout", true}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(AssistantsStreaming, FailureBeforeTheStreamIsToldAsEver) {
  for (const int passed : {0, 1}) {
    for (const standin::Script& reply :
         {standin::Script{.status = 429, .body = R"({"error":{"message":"Slow down"}})"},
          standin::Script{.status = 503, .body = ""}, standin::Script{.status = 200, .body = "no JSON"},
          standin::Script{.status = 200, .body = R"({"id":7})"}, standin::Script{.status = 200, .body = ""}}) {
      const auto errorOf = [&](bool isStreamed) {
        session_ = newSession(*assistant_);  // a run that a success has made is in the way of the next
        letPass(passed);
        standin_.script(reply);
        return (isStreamed ? askStreamed() : ask()).error;
      };
      const std::string polled = errorOf(false);
      EXPECT_NE(polled, "");
      EXPECT_EQ(errorOf(true), polled) << *reply.body;
      EXPECT_THAT(pieces_, IsEmpty());
    }
  }
}

TEST_F(AssistantsStreaming, RunOfAServerWithoutStreamsIsPolled) {
  standin_.scriptRun(
      {.statuses = {"queued", "completed"}, .contents = {{"[" + textPart("one") + "," + textPart("two") + "]"}}});
  streamNext({.status = 200, .body = R"({"id":"run_standin_1","status":"queued"})"});
  const Turned turned = askStreamed();
  EXPECT_EQ(turned.error, "");
  EXPECT_THAT(turned.sections, ElementsAre("one", "two"));
  EXPECT_THAT(pieces_, ElementsAre("one", "two"));
  EXPECT_THAT(wireBehind(4), ElementsAre("GET /v1/threads/id/runs/id", "GET /v1/threads/id/runs/id",
                                         "GET /v1/threads/id/messages?run_id=id"));
  standin_.scriptRun({.statuses = {"failed"}, .lastError = R"({"code":"c","message":"m"})"});
  streamNext({.status = 200, .body = R"({"id":"run_standin_2","status":"queued"})"});
  EXPECT_EQ(askStreamed().error, "c: m");
}

TEST_F(AssistantsStreaming, PolledRepliesHaveTheLimitOnTextAndTheSinksWord) {
  standin_.scriptRun({.contents = {{"[" + textPart("one") + "," + textPart("two") + "]"}}});
  streamNext({.status = 200, .body = R"({"id":"run_standin_1","status":"queued"})"});
  QAIStreamOptions options;
  options.mostTextBytes = 5;
  EXPECT_EQ(askStreamed(options).error, "The reply is too long: p/v1/threads/id/runs/id");
  EXPECT_THAT(pieces_, IsEmpty());
  standin_.scriptRun({.contents = {{"[" + textPart("one") + "," + textPart("two") + "]"}}});
  streamNext({.status = 200, .body = R"({"id":"run_standin_2","status":"queued"})"});
  isEnough_ = [] { return true; };
  EXPECT_EQ(askStreamed().error, "Stopped");
  EXPECT_THAT(pieces_, ElementsAre("one"));
  expectNextTurn();
}

/// Turns that end while the run goes on at the service, which takes no further question until it is cancelled.
class LeftRun : public AssistantsStreaming {
 protected:
  LeftRun() { scriptRunIn("in_progress"); }

  static std::string beginning() {
    const std::string whole =
        streamOfRun(kEndOfRun, message(R"("created_at":1,"content":[)" + textPart("one two") + "]"));
    return whole.substr(0, whole.find("event: thread.message.completed"));
  }
  void expectCancelled(const std::string& before) {
    EXPECT_EQ(wire().back(), kCancel);
    EXPECT_EQ(standin_.requests().back().body, "");
    EXPECT_THAT(standin_.requests().back().path, EndsWith("/run_standin_1/cancel"));
    EXPECT_EQ(session_->obtainSessionData(), before);
    expectNextTurn();
  }

  const std::string before_ = session_->obtainSessionData();
};

TEST_F(LeftRun, StoppedByTheSinkIsCancelled) {
  streamNext(asStream(beginning()));
  isEnough_ = [] { return true; };
  EXPECT_EQ(askStreamed(), (Turned{.error = "Stopped", .saved = before_}));
  EXPECT_THAT(pieces_, ElementsAre("one"));
  expectCancelled(before_);
}

TEST_F(LeftRun, StoppedByTheFlagIsCancelled) {
  standin::Script reply = asStream("");
  reply.pieces = {{beginning()}, {": never\n\n", 60s}};
  streamNext(reply);
  std::atomic<bool> stop{false};
  QAIStreamOptions options;
  options.stop = &stop;
  isEnough_ = [&stop] {
    stop = true;
    return false;
  };
  EXPECT_EQ(askStreamed(options), (Turned{.error = "Stopped", .saved = before_}));
  expectCancelled(before_);
}

TEST_F(LeftRun, StoppedByAnExceptionIsCancelled) {
  streamNext(asStream(beginning()));
  isEnough_ = []() -> bool { throw std::out_of_range("the host's"); };
  EXPECT_THROW(askStreamed(), std::out_of_range);
  expectCancelled(before_);
}

TEST_F(LeftRun, CancelledByTheHostIsCancelledAtTheService) {
  ICSHTTPPoolCenter* pool = CF::createHTTPPoolCenter();
  assistant_ = bareAssistant(pool);
  Owned<IQAISession> same(assistant_->loadSession(before_).first);
  session_ = std::move(same);
  standin::Script reply = asStream("");
  reply.pieces = {{beginning()}, {": never\n\n", 60s}};
  streamNext(reply);
  isEnough_ = [pool] {
    pool->cancel();
    return false;
  };
  EXPECT_EQ(askStreamed(), (Turned{.error = "The request was cancelled", .saved = before_}));
  expectCancelled(before_);
}

TEST_F(LeftRun, ThatIsTooSlowIsCancelled) {
  standin::Script reply = asStream("");
  reply.pieces = {{beginning()}, {": never\n\n", 60s}};
  streamNext(reply);
  QAIStreamOptions options;
  options.totalTimeout = 300ms;
  EXPECT_THAT(askStreamed(options).error, EndsWith(" within 0.3 s"));
  expectCancelled(before_);
}

TEST_F(LeftRun, WhoseConnectionIsLostIsCancelled) {
  standin::Script reply = asStream("");
  reply.pieces = {{beginning()}, {": never\n\n"}};
  reply.fault = standin::Fault::ResetBody;
  reply.cutAfter = beginning().size();
  streamNext(reply);
  EXPECT_THAT(askStreamed().error, HasSubstr("was lost"));
  expectCancelled(before_);
}

TEST_F(LeftRun, ThatIsTooLongIsCancelled) {
  streamNext(asStream(beginning()));
  QAIStreamOptions options;
  options.mostTextBytes = 3;
  EXPECT_EQ(askStreamed(options).error, "The reply is too long: p/v1/threads/id/runs/id");
  expectCancelled(before_);
}

TEST_F(LeftRun, WhoseEventIsNoJSONIsCancelled) {
  streamNext(asStream(beginning() + "data: hello\n\n"));
  EXPECT_EQ(askStreamed().error, "Invalid response: p/v1/threads/id/runs");
  expectCancelled(before_);
}

TEST_F(AssistantsStreaming, ThatEndsTooEarlyIsAFailureThatSaysSo) {
  const std::string whole =
      streamOfRun(kEndOfRun, message(R"("created_at":1,"content":[)" + textPart("one two") + "]"));
  streamNext(asStream(whole.substr(0, whole.find("event: thread.run.completed"))));
  EXPECT_EQ(askStreamed().error, "The reply ended before it was complete: p/v1/threads/id/runs/id");
  EXPECT_THAT(pieces_, ElementsAre("one", " tw", "o"));
  EXPECT_EQ(wire().back(), kCancel);
}

TEST_F(AssistantsStreaming, DoesNotBeginWhenTheHostHasStopped) {
  const std::size_t before = requestCount();
  const std::atomic<bool> stop{true};
  QAIStreamOptions options;
  options.stop = &stop;
  EXPECT_EQ(askStreamed(options).error, "Stopped");
  EXPECT_EQ(requestCount(), before);
}

TEST_F(AssistantsStreaming, ErrorEventIsTold) {
  streamNext(asStream("event: error\ndata: {\"error\":{\"message\":\"The server had an error\"}}\n\n"));
  EXPECT_EQ(askStreamed().error, "The server had an error");
}

}  // namespace
