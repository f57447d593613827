// Runs that a script has told what becomes of them, and what scripts of replies do to what is kept.
#include "assistants_client.h"
#include "openai_error.h"

#include <gmock/gmock.h>

namespace {

using standin::Fault;
using testing::ElementsAre;
using testing::HasSubstr;

struct StatusCase {
  const char* name;
  std::vector<std::string> scripted;
  std::vector<std::string> told;
  bool busy;  // at the end
};
void PrintTo(const StatusCase& row, std::ostream* out) { *out << row.name; }

class RunStatuses : public testing::TestWithParam<StatusCase> {};

TEST_P(RunStatuses, AreToldOneByOneAndTheLastOneStays) {
  standin::Server server;
  AssistantsClient client(server);
  const std::string assistant = client.createAssistant();
  const std::string thread = client.createThread();
  server.scriptRun({.statuses = GetParam().scripted});
  const auto created = client.post(thread + "/runs", R"({"assistant_id":")" + assistant + "\"}");
  EXPECT_EQ(memberText(created, "status"), "queued");
  const std::string run = thread + "/runs/" + memberText(created, "id");
  for (const std::string& status : GetParam().told) EXPECT_EQ(memberText(client.get(run), "status"), status);
  const auto answer = client.post(thread + "/messages", R"({"role":"user","content":"x"})");
  EXPECT_EQ(answer.status, GetParam().busy ? 400 : 200) << answer.body;
}

INSTANTIATE_TEST_SUITE_P(
    Sequences, RunStatuses,
    testing::Values(StatusCase{"completed", {"completed"}, {"completed", "completed"}, false},
                    StatusCase{"nobody_asks", {"completed"}, {}, true},
                    StatusCase{"slow",
                               {"queued", "in_progress", "in_progress", "completed"},
                               {"queued", "in_progress", "in_progress", "completed", "completed"},
                               false},
                    StatusCase{
                        "slow_and_not_done", {"queued", "in_progress", "completed"}, {"queued", "in_progress"}, true},
                    StatusCase{"never_done", {"in_progress"}, {"in_progress", "in_progress"}, true},
                    StatusCase{"none", {}, {"queued", "queued"}, true},
                    StatusCase{"needs_action", {"requires_action"}, {"requires_action"}, true},
                    StatusCase{"cancelling", {"cancelling"}, {"cancelling"}, true},
                    StatusCase{"cancelled", {"cancelling", "cancelled"}, {"cancelling", "cancelled"}, false},
                    StatusCase{"failed", {"failed"}, {"failed"}, false},
                    StatusCase{"expired", {"expired"}, {"expired"}, false},
                    StatusCase{"incomplete", {"incomplete"}, {"incomplete"}, false},
                    StatusCase{"unheard_of", {"resting"}, {"resting"}, false},
                    StatusCase{"done_and_undone", {"completed", "in_progress"}, {"completed", "in_progress"}, false}),
    [](const auto& row) { return std::string(row.param.name); });

struct EndCase {
  const char* name;
  std::string status;
  std::string times;  // the members, as they are told at the end
  bool tellsUsage;
};
void PrintTo(const EndCase& row, std::ostream* out) { *out << row.name; }

class RunEnd : public testing::TestWithParam<EndCase> {};

TEST_P(RunEnd, HasItsTime) {
  standin::Server server;
  AssistantsClient client(server);
  const std::string assistant = client.createAssistant();
  server.scriptRun({.statuses = {GetParam().status}});
  const auto run = client.get(client.run(client.createThread(), assistant));
  EXPECT_THAT(withoutTimes(run), HasSubstr(GetParam().times));
  EXPECT_EQ(memberJson(run, "usage") != "null", GetParam().tellsUsage);
}

INSTANTIATE_TEST_SUITE_P(
    Statuses, RunEnd,
    testing::Values(
        EndCase{"queued", "queued", R"("started_at":null,"expires_at":null,"cancelled_at":null,"failed_at":null,)",
                false},
        EndCase{"in_progress", "in_progress",
                R"("started_at":1,"expires_at":null,"cancelled_at":null,"failed_at":null,"completed_at":null)", false},
        EndCase{"completed", "completed",
                R"("started_at":1,"expires_at":null,"cancelled_at":null,"failed_at":null,"completed_at":1)", true},
        EndCase{"failed", "failed",
                R"("started_at":1,"expires_at":null,"cancelled_at":null,"failed_at":1,"completed_at":null)", true},
        EndCase{"cancelled", "cancelled",
                R"("started_at":1,"expires_at":null,"cancelled_at":1,"failed_at":null,"completed_at":null)", true}),
    [](const auto& row) { return std::string(row.param.name); });

class ScriptedRun : public testing::Test {
 protected:
  standin::Server server;
  AssistantsClient client{server};
  std::string assistant = client.createAssistant();
  std::string thread = client.createThread();
};

TEST_F(ScriptedRun, TellsItsErrorAsItStands) {
  for (const std::string error : {"null", R"({"code":"rate_limit_exceeded"})", R"({"message":"m","code":null})",
                                  R"({"code":"server_error","message":"Sorry, something went wrong."})", "\"text\""}) {
    server.scriptRun({.statuses = {"failed"}, .lastError = error});
    const auto answer = client.get(client.run(thread, assistant));
    EXPECT_EQ(memberText(answer, "status"), "failed");
    EXPECT_THAT(answer.body, HasSubstr(R"("last_error":)" + error + ","));
  }
  server.scriptRun({.statuses = {"failed"}});
  EXPECT_EQ(memberJson(client.get(client.run(thread, assistant)), "last_error"), "null");
}

std::string textPart(const std::string& text) {
  return R"({"type":"text","text":{"value":")" + text + R"(","annotations":[]}})";
}

TEST_F(ScriptedRun, WritesSeveralMessagesAndParts) {
  client.say(thread, "x");
  server.scriptRun({.contents = {{"[" + textPart("a") + "]", "[" + textPart("b") + "," + textPart("c") + "]"}}});
  const std::string run = client.run(thread, assistant);
  EXPECT_THAT(client.texts(thread), ElementsAre("x", "a", "b", "c"));
  EXPECT_THAT(client.texts(thread, "?run_id=run_standin_1"), ElementsAre("b", "c", "a"));
  const auto list = client.get(thread + "/messages?run_id=run_standin_1&limit=1");
  EXPECT_THAT(list.body, HasSubstr(R"("assistant_id":"asst_standin_1","thread_id":"thread_standin_1",)"
                                   R"("run_id":"run_standin_1","role":"assistant","content":[{)"));
  EXPECT_EQ(memberJson(list, "has_more"), "true");
  EXPECT_THAT(client.get(run).body, HasSubstr(R"("usage":{"prompt_tokens":1,"completion_tokens":2,"total_tokens":3})"));
}

TEST_F(ScriptedRun, WritesContentsAsTheyStand) {
  for (const std::string content :
       {"null", "[]", R"([{"type":"image_file","image_file":{"file_id":"f"}}])", R"(["x",7])", R"("text")"}) {
    server.scriptRun({.contents = {{content}}});
    const std::string run = client.run(thread, assistant);
    const auto list = client.get(thread + "/messages?limit=1");
    EXPECT_THAT(list.body, HasSubstr(R"("content":)" + content + R"(,"attachments")"));
    client.get(run);
  }
}

TEST_F(ScriptedRun, MayWriteNothing) {
  client.say(thread, "x");
  server.scriptRun({.contents = std::vector<std::string>()});
  client.run(thread, assistant);
  EXPECT_THAT(client.texts(thread), ElementsAre("x"));
}

TEST_F(ScriptedRun, AnswersAsUsualWhereTheScriptSaysNothing) {
  client.say(thread, "x");
  server.scriptRun({.statuses = {"in_progress", "completed"}});
  client.run(thread, assistant);
  EXPECT_EQ(client.texts(thread).size(), 2U);
}

TEST_F(ScriptedRun, IsPartOfTheConversation) {
  server.scriptRun({.contents = {{"[" + textPart("forty") + "," + textPart("-two") + "]"}}});
  client.say(thread, "x");
  client.get(client.run(thread, assistant));
  client.say(thread, "What did you answer?");
  client.run(thread, assistant);
  EXPECT_THAT(client.texts(thread, "").front(), HasSubstr(R"(I answered before: "forty-two")"));
}

TEST_F(ScriptedRun, HoldsItsThread) {
  server.scriptRun({.statuses = {"in_progress", "completed"}});
  const std::string run = client.run(thread, assistant);
  const auto message = [&] { return client.post(thread + "/messages", R"({"role":"user","content":"x"})"); };
  const auto another = [&] { return client.post(thread + "/runs", R"({"assistant_id":"asst_standin_1"})"); };
  const auto expectBusy = [&] {
    expectOpenaiError(message(), 400, "Can't add messages to thread_standin_1 while a run run_standin_1 is active.", "",
                      "");
    expectOpenaiError(another(), 400, "Thread thread_standin_1 already has an active run run_standin_1.", "", "");
  };
  expectBusy();
  client.get(run);
  expectBusy();
  const std::string free = client.createThread();
  client.say(free, "x");
  client.run(free, assistant);
  client.get(run);
  EXPECT_EQ(message().status, 200);
  EXPECT_EQ(another().status, 200);
}

TEST_F(ScriptedRun, TakesTheOldestScriptThatIsLeft) {
  server.scriptRun({.statuses = {"failed"}});
  server.scriptRun({.statuses = {"expired"}});
  EXPECT_EQ(memberText(client.get(client.run(thread, assistant)), "status"), "failed");
  EXPECT_EQ(client.post(thread + "/runs", R"({"assistant_id":"asst_x"})").status, 404);
  EXPECT_EQ(client.post(thread + "/runs", R"({"assistant_id":"asst_standin_1","model":"nope"})").status, 400);
  EXPECT_EQ(client.post("/v1/threads/x/runs", R"({"assistant_id":"asst_standin_1"})").status, 404);
  const std::string second = client.run(thread, assistant);
  EXPECT_EQ(client.post(thread + "/runs", R"({"assistant_id":"asst_standin_1"})").status, 400);
  EXPECT_EQ(memberText(client.get(second), "status"), "expired");
  EXPECT_EQ(memberText(client.get(client.run(thread, assistant)), "status"), "completed");
}

struct TailCase {
  const char* name;
  std::string tail;
  std::string encoded;
};
void PrintTo(const TailCase& row, std::ostream* out) { *out << row.name; }

class IdTail : public testing::TestWithParam<TailCase> {};

TEST_P(IdTail, IsBehindEveryIdentifier) {
  const auto& [name, tail, encoded] = GetParam();
  const standin::Server server({.idTail = tail});
  AssistantsClient client(server);
  const auto inJson = [](const std::string& text) {
    COJson document;
    document.setString(text);
    return document.obtainJsonString();
  };
  const std::string assistant = client.createAssistant();
  EXPECT_EQ(assistant, "asst_standin_1" + tail);
  EXPECT_EQ(memberText(client.get("/v1/assistants/asst_standin_1" + encoded), "id"), assistant);
  EXPECT_EQ(memberText(client.post("/v1/threads", ""), "id"), "thread_standin_1" + tail);
  const std::string thread = "/v1/threads/thread_standin_1" + encoded;
  EXPECT_EQ(client.say(thread, "x"), "msg_standin_1" + tail);
  const auto created = client.post(thread + "/runs", R"({"assistant_id":)" + inJson(assistant) + "}");
  EXPECT_EQ(memberText(created, "id"), "run_standin_1" + tail);
  EXPECT_EQ(memberText(created, "assistant_id"), assistant);
  EXPECT_EQ(memberText(client.get(thread + "/runs/run_standin_1" + encoded), "status"), "completed");
  const auto list = client.get(thread + "/messages?run_id=run_standin_1" + encoded);
  EXPECT_EQ(memberText(list, "last_id"), "msg_standin_2" + tail);
  EXPECT_EQ(memberText(client.get(thread + "/messages?after=msg_standin_2" + encoded), "first_id"),
            "msg_standin_1" + tail);
  EXPECT_EQ(client.remove(thread).body,
            R"({"id":)" + inJson("thread_standin_1" + tail) + R"(,"object":"thread.deleted","deleted":true})");
  EXPECT_EQ(client.remove("/v1/assistants/asst_standin_1" + encoded).status, 200);
}

INSTANTIATE_TEST_SUITE_P(
    Tails, IdTail,
    testing::Values(TailCase{"plain", "-x", "-x"},
                    TailCase{"all_that_an_address_takes_apart", "/a b?c#d%é", "%2Fa%20b%3Fc%23d%25%C3%A9"},
                    TailCase{"what_looks_encoded", "%41", "%2541"}, TailCase{"plus_and_and", "+a&b=c", "%2Ba%26b%3Dc"},
                    TailCase{"json", "\"\\}", "%22%5C%7D"}, TailCase{"dots", "/../x", "%2F..%2Fx"}),
    [](const auto& row) { return std::string(row.param.name); });

struct MutationCase {
  const char* name;
  std::string method;
  std::string target;
  std::string body;
};
void PrintTo(const MutationCase& row, std::ostream* out) { *out << row.name; }

/// A service that keeps an assistant, a thread with a message and a run that goes on, a thread without, and the script
/// of another run.
struct World {
  standin::Server server;
  AssistantsClient client{server};

  World() {
    client.createAssistant();
    client.say(client.createThread(), "x");
    client.createThread();
    server.scriptRun({.statuses = {"in_progress", "completed"}});
    client.run("/v1/threads/thread_standin_1", "asst_standin_1");
    server.scriptRun({.statuses = {"expired"}});
  }

  Client::Answer send(const MutationCase& row) {
    return Client(server.address()).send(row.method, row.target, kAssistantsHeaders, &row.body);
  }

  /// All that is kept, as far as it can be seen. To look changes it, so once is enough.
  std::vector<std::string> takeStock() {
    std::vector<std::string> stock;
    for (const std::string path :
         {"/v1/assistants/asst_standin_1", "/v1/threads/thread_standin_1", "/v1/threads/thread_standin_1/messages",
          "/v1/threads/thread_standin_1/runs/run_standin_1", "/v1/threads/thread_standin_2/messages"}) {
      stock.push_back(withoutTimes(client.get(path)));
    }
    const std::string assistant = client.createAssistant();
    const std::string thread = client.createThread();
    const std::string run = client.run(thread, assistant);
    stock.insert(stock.end(), {assistant, thread, run, memberText(client.get(run), "status")});
    return stock;
  }
};

class ScriptedReply : public testing::TestWithParam<MutationCase> {};

TEST_P(ScriptedReply, ChangesNothingWhenItRefuses) {
  World refusing;
  refusing.server.script({.status = 400});
  refusing.server.script({.status = 503, .body = "busy"});
  refusing.server.script({.fault = Fault::Reset});
  const auto refused = refusing.send(GetParam());
  EXPECT_EQ(refused.status, 400);
  EXPECT_EQ(withoutTimes(refused), withoutTimes(World().send(GetParam())));  // what is not set stays
  EXPECT_EQ(refusing.send(GetParam()).body, "busy");
  EXPECT_NE(refusing.send(GetParam()).result, CURLE_OK);
  EXPECT_EQ(refusing.takeStock(), World().takeStock());
}

TEST_P(ScriptedReply, ChangesWhatTheServiceWouldWhenItOnlyTellsSomethingElse) {
  World usual;
  EXPECT_EQ(usual.send(GetParam()).status, 200);
  const std::vector<std::string> stock = usual.takeStock();
  EXPECT_NE(stock, World().takeStock());
  for (const standin::Script& script :
       {standin::Script{.body = "other"}, standin::Script{.status = 201, .body = "other"},
        standin::Script{.status = 399}, standin::Script{.fault = Fault::CutBody}}) {
    World scripted;
    scripted.server.script(script);
    const auto answer = scripted.send(GetParam());
    EXPECT_EQ(answer.status, script.status.value_or(200));
    EXPECT_EQ(answer.body == "other", script.body.has_value());
    EXPECT_EQ(scripted.takeStock(), stock);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Requests, ScriptedReply,
    testing::Values(MutationCase{"create_assistant", "POST", "/v1/assistants", R"({"model":"standin-large"})"},
                    MutationCase{"modify_assistant", "POST", "/v1/assistants/asst_standin_1", R"({"name":"x"})"},
                    MutationCase{"delete_assistant", "DELETE", "/v1/assistants/asst_standin_1", ""},
                    MutationCase{"create_thread", "POST", "/v1/threads", ""},
                    MutationCase{"delete_thread", "DELETE", "/v1/threads/thread_standin_1", ""},
                    MutationCase{"add_message", "POST", "/v1/threads/thread_standin_2/messages",
                                 R"({"role":"user","content":"y"})"},
                    MutationCase{"start_run", "POST", "/v1/threads/thread_standin_2/runs",
                                 R"({"assistant_id":"asst_standin_1"})"},
                    MutationCase{"cancel_run", "POST", "/v1/threads/thread_standin_1/runs/run_standin_1/cancel", ""},
                    MutationCase{"tell_run", "GET", "/v1/threads/thread_standin_1/runs/run_standin_1", ""}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
