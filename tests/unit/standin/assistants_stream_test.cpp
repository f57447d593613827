// Runs whose events are streamed.
#include "assistants_client.h"
#include "openai_error.h"
#include "stream_events.h"

#include <assistants_stream.h>
#include <gmock/gmock.h>

#include <optional>
#include <variant>

namespace {

using standin::Fault;
using testing::ElementsAre;

constexpr const char* kStream = R"({"assistant_id":"asst_standin_1","stream":true})";
constexpr const char* kPlain = R"({"assistant_id":"asst_standin_1"})";

class StreamedRun : public testing::Test {
 protected:
  /// The events of a new run.
  std::vector<StreamEvent> stream() { return readEvents(client.post(thread + "/runs", kStream).body); }
  std::string status(const std::string& run = "run_standin_1") {
    return memberText(client.get(thread + "/runs/" + run), "status");
  }
  Client::Answer saySomething() { return client.post(thread + "/messages", R"({"role":"user","content":"y"})"); }

  standin::Server server;
  AssistantsClient client{server};
  std::string assistant = client.createAssistant();
  std::string thread = client.createThread();
};

/// The names of events, the repeated ones once.
std::vector<std::string> namesOf(const std::vector<StreamEvent>& events) {
  std::vector<std::string> names;
  for (const StreamEvent& event : events) {
    if (names.empty() || names.back() != event.name) names.push_back(event.name);
  }
  return names;
}

TEST_F(StreamedRun, IsToldFromItsBeginningToItsEnd) {
  client.say(thread, "x");
  const auto answer = client.post(thread + "/runs", kStream);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.contentType, "text/event-stream");
  const std::vector<StreamEvent> events = readEvents(answer.body);
  EXPECT_THAT(namesOf(events),
              ElementsAre("thread.run.created", "thread.run.queued", "thread.run.in_progress", "thread.message.created",
                          "thread.message.in_progress", "thread.message.delta", "thread.message.completed",
                          "thread.run.completed", "done"));
  EXPECT_EQ(textAt(events[0].data, "status"), "queued");
  EXPECT_EQ(textAt(events[2].data, "status"), "in_progress");
  EXPECT_EQ(jsonAt(events[3].data, "content"), "[]");
  EXPECT_EQ(events.back().data, "[DONE]");
}

TEST_F(StreamedRun, LeavesWhatAPolledOneLeaves) {
  AssistantsClient polled(server);
  const std::string other = polled.createThread();
  for (const std::string& path : {thread, other}) client.say(path, "Wörter € 😀");
  const std::vector<StreamEvent> events = stream();
  polled.get(polled.run(other, assistant));
  const std::vector<std::string> texts = client.texts(thread);
  EXPECT_EQ(texts, polled.texts(other));
  EXPECT_EQ(joined(textsAt(events, "delta/content/0/text/value")), texts.at(1));
  const auto run = client.get(thread + "/runs/run_standin_1");
  EXPECT_EQ(events[events.size() - 2].data, run.body);
  EXPECT_EQ(memberJson(run, "usage"), memberJson(polled.get(other + "/runs/run_standin_2"), "usage"));
  const auto messages = client.get(thread + "/messages?run_id=run_standin_1");
  EXPECT_EQ(jsonAt(messages.body, "data/0"), events[events.size() - 3].data);
  EXPECT_EQ(saySomething().status, 200);
}

struct EndCase {
  const char* name;
  std::vector<std::string> scripted;
  std::vector<std::string> told;  // behind "in_progress", without the prefix
  bool busy;                      // at the end
};
void PrintTo(const EndCase& row, std::ostream* out) { *out << row.name; }

class StreamedEnd : public testing::TestWithParam<EndCase> {};

TEST_P(StreamedEnd, IsWhatWasScripted) {
  standin::Server server;
  AssistantsClient client(server);
  client.createAssistant();
  const std::string thread = client.createThread();
  server.scriptRun({.statuses = GetParam().scripted, .contents = std::vector<std::string>()});
  std::vector<std::string> told = namesOf(readEvents(client.post(thread + "/runs", kStream).body));
  std::vector<std::string> expected{"created", "queued", "in_progress"};
  expected.insert(expected.end(), GetParam().told.begin(), GetParam().told.end());
  for (std::string& name : expected) name = (name == "done" ? "" : "thread.run.") + name;
  EXPECT_EQ(told, expected);
  EXPECT_EQ(client.post(thread + "/runs", kPlain).status, GetParam().busy ? 400 : 200);
}

INSTANTIATE_TEST_SUITE_P(
    Sequences, StreamedEnd,
    testing::Values(EndCase{"completed", {"completed"}, {"completed", "done"}, false},
                    EndCase{
                        "slow", {"queued", "in_progress", "in_progress", "completed"}, {"completed", "done"}, false},
                    EndCase{"failed", {"failed"}, {"failed", "done"}, false},
                    EndCase{"cancelled", {"cancelling", "cancelled"}, {"cancelling", "cancelled", "done"}, false},
                    EndCase{"expired", {"expired"}, {"expired", "done"}, false},
                    EndCase{"incomplete", {"incomplete"}, {"incomplete", "done"}, false},
                    EndCase{"needs_action", {"requires_action"}, {"requires_action", "done"}, true},
                    EndCase{"never_done", {"in_progress"}, {}, true}, EndCase{"never_begun", {}, {"queued"}, true},
                    EndCase{"done_and_undone", {"completed", "in_progress"}, {"completed", "done"}, false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StreamedRun, TellsItsError) {
  server.scriptRun({.statuses = {"failed"}, .lastError = R"({"code":"server_error","message":"m"})"});
  const std::vector<StreamEvent> events = stream();
  EXPECT_EQ(textAt(events[events.size() - 2].data, "last_error/message"), "m");
}

TEST_F(StreamedRun, TellsSeveralMessagesAndParts) {
  const auto part = [](const std::string& text) {
    return R"({"type":"text","text":{"value":")" + text + R"(","annotations":[]}})";
  };
  const std::string image = R"({"type":"image_file","image_file":{"file_id":"f"}})";
  server.scriptRun({.contents = {{"[" + part("first") + "]", "[" + part("b") + "," + image + "," + part("c") + "]"}}});
  std::vector<std::string> told;
  for (const StreamEvent& event : stream()) {
    if (event.name != "thread.message.delta") continue;
    told.push_back(textAt(event.data, "id") + "/" + jsonAt(event.data, "delta/content/0/index") + "/" +
                   textAt(event.data, "delta/content/0/text/value"));
  }
  EXPECT_THAT(told, ElementsAre("msg_standin_1/0/f", "msg_standin_1/0/ir", "msg_standin_1/0/st", "msg_standin_2/0/b",
                                "msg_standin_2/2/c"));
  EXPECT_THAT(client.texts(thread, "?run_id=run_standin_1&order=asc&limit=1"), ElementsAre("first"));
}

TEST_F(StreamedRun, IsRefusedInAWholeReply) {
  expectOpenaiError(client.post(thread + "/runs", R"({"assistant_id":"asst_x","stream":true})"), 404,
                    "No assistant found", "", "");
  expectOpenaiError(client.post("/v1/threads/none/runs", kStream), 404, "No thread found", "", "");
  expectOpenaiError(client.post(thread + "/runs", R"({"assistant_id":"asst_standin_1","stream":1})"), 400,
                    "Invalid type for 'stream'", "stream", "invalid_type");
}

TEST_F(StreamedRun, DoesNotBeginWhereAStatusIsScripted) {
  server.script({.status = 503});
  const auto answer = client.post(thread + "/runs", kStream);
  EXPECT_EQ(answer.status, 503);
  EXPECT_EQ(memberText(answer, "status"), "queued");
  EXPECT_EQ(client.get(thread + "/runs/run_standin_1").status, 404);
}

TEST_F(StreamedRun, BeginsAsAPolledOneWhereABodyIsScripted) {
  client.say(thread, "x");
  server.script({.body = "other"});
  EXPECT_EQ(client.post(thread + "/runs", kStream).body, "other");
  EXPECT_EQ(client.texts(thread).size(), 2U);
  EXPECT_EQ(status(), "completed");
}

/// The client leaves in the middle; the run stays, and with it the thread is held.
class BrokenRun : public StreamedRun {
 protected:
  void SetUp() override {
    client.say(thread, "x");
    server.script({.fault = Fault::CutBody, .cutAfter = 10});
    EXPECT_EQ(client.post(thread + "/runs", kStream).body, "event: thr");
  }

  Client::Answer cancel(const std::string& run = "run_standin_1") {
    return client.post(thread + "/runs/" + run + "/cancel", "");
  }
};

TEST_F(BrokenRun, HoldsItsThreadUntilItIsCancelled) {
  expectOpenaiError(saySomething(), 400, "Can't add messages to thread_standin_1 while a run run_standin_1 is active.",
                    "", "");
  expectOpenaiError(client.post(thread + "/runs", kStream), 400,
                    "Thread thread_standin_1 already has an active run run_standin_1.", "", "");
  const auto cancelled = cancel();
  EXPECT_EQ(cancelled.status, 200);
  EXPECT_EQ(memberText(cancelled, "status"), "cancelled");
  EXPECT_EQ(status(), "cancelled");
  EXPECT_EQ(saySomething().status, 200);
}

TEST_F(BrokenRun, HoldsItsThreadUntilItsEndIsTold) {
  EXPECT_EQ(saySomething().status, 400);
  EXPECT_EQ(status(), "completed");
  EXPECT_EQ(saySomething().status, 200);
  EXPECT_EQ(client.texts(thread).size(), 3U);
}

TEST_F(BrokenRun, CanBeCancelledOnce) {
  EXPECT_EQ(cancel().status, 200);
  expectOpenaiError(cancel(), 400, "Cannot cancel run with status 'cancelled'.", "", "");
  expectOpenaiError(cancel("run_x"), 404, "No run found with id 'run_x'.", "", "");
}

TEST_F(BrokenRun, WasCutBehindItsEndWhenHalfOfItIsLetThrough) {
  cancel();
  server.script({.fault = Fault::CutBody});
  EXPECT_EQ(namesOf(stream()).front(), "thread.run.created");
  EXPECT_EQ(saySomething().status, 200);
}

/// The source of a run's events, so that something can happen between two of them.
class RunSource : public testing::Test {
 protected:
  RunSource() {
    store.createAssistant({{"model", "\"standin-small\""}});
    store.createThread({}, {});
    const auto opening = store.openRun(kThread, {{"assistant_id", "\"asst_standin_1\""}});
    events = standin::runEvents(store, kThread, std::get<standin::RunOpening>(opening));
    for (int i = 0; i < 6; ++i) events();  // up to and with the first piece of text
  }

  std::string rest() {
    std::string text;
    while (const auto event = events()) text += *event;
    return text;
  }

  static constexpr const char* kThread = "thread_standin_1";
  standin::AssistantsStore store{""};
  standin::EventSource events;
};

TEST_F(RunSource, GoesOnToTheEnd) {
  EXPECT_THAT(namesOf(readEvents(rest())),
              ElementsAre("thread.message.delta", "thread.message.completed", "thread.run.completed", "done"));
  EXPECT_EQ(events(), std::nullopt);
}

TEST_F(RunSource, TellsAtOnceThatTheRunIsCancelled) {
  store.cancelRun(kThread, "run_standin_1");
  const std::vector<StreamEvent> told = readEvents(rest());
  EXPECT_THAT(namesOf(told), ElementsAre("thread.run.cancelled", "done"));
  EXPECT_EQ(textAt(told[0].data, "status"), "cancelled");
}

TEST_F(RunSource, EndsWithItsThread) {
  store.deleteThread(kThread);
  EXPECT_EQ(rest(), "");
  EXPECT_EQ(events(), std::nullopt);
}

}  // namespace
