// What the Assistants protocol tells and keeps; its refusals and its scripted runs have files of their own.
#include "assistants_client.h"
#include "shop.h"

#include <cf/json_shortcuts.h>

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AssistantsService : public testing::Test {
 protected:
  standin::Server server;
  AssistantsClient client{server};
};

TEST_F(AssistantsService, TellsAnAssistantWithWhatIsUsual) {
  const auto answer = client.post("/v1/assistants", R"({"model":"standin-small","name":null})");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.contentType, "application/json");
  EXPECT_EQ(withoutTimes(answer),
            R"({"id":"asst_standin_1","object":"assistant","created_at":1,"name":null,"description":null,)"
            R"("model":"standin-small","instructions":null,"tools":[],"tool_resources":{},"metadata":{},"top_p":1.0,)"
            R"("temperature":1.0,"response_format":"auto"})");
  EXPECT_EQ(client.get("/v1/assistants/asst_standin_1").body, answer.body);
}

TEST_F(AssistantsService, TellsAnAssistantAsItWasSent) {
  const std::string members =
      R"("name":"Tutor","description":"d","model":"standin-large","instructions":"i \"ü\"",)"
      R"("tools":[{"type":"code_interpreter"}],"tool_resources":{"file_search":{"vector_store_ids":["vs"]}},)"
      R"("metadata":{"k":"v"},"top_p":0.5,"temperature":0,"response_format":{"type":"json_object"})";
  const auto answer = client.post("/v1/assistants", "{" + members + R"(,"reasoning_effort":null})");
  EXPECT_EQ(withoutTimes(answer), R"({"id":"asst_standin_1","object":"assistant","created_at":1,)" + members + "}");
}

TEST_F(AssistantsService, TellsWhenAnObjectWasMade) {
  const auto now = [] {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()).time_since_epoch().count();
  };
  const auto before = static_cast<double>(now());
  const COJson thread(client.post("/v1/threads", "").body);
  EXPECT_GE(thread.obtainJsonValue("created_at")->obtainNumber(), before);
  EXPECT_LE(thread.obtainJsonValue("created_at")->obtainNumber(), static_cast<double>(now()));
}

TEST_F(AssistantsService, KeepsWhatAChangeDoesNotName) {
  const std::string path =
      "/v1/assistants/" +
      client.createAssistant(R"({"model":"standin-small","name":"n","instructions":"i","temperature":0.5})");
  const auto changed = client.post(path, R"({"instructions":"other","name":null,"model":"standin-large"})");
  EXPECT_EQ(changed.status, 200);
  EXPECT_EQ(withoutTimes(changed),
            R"({"id":"asst_standin_1","object":"assistant","created_at":1,"name":null,"description":null,)"
            R"("model":"standin-large","instructions":"other","tools":[],"tool_resources":{},"metadata":{},)"
            R"("top_p":1.0,"temperature":0.5,"response_format":"auto"})");
  EXPECT_EQ(client.get(path).body, changed.body);
  EXPECT_EQ(client.post(path, "{}").body, changed.body);
  EXPECT_EQ(memberJson(client.post(path, R"({"temperature":null,"tools":null})"), "temperature"), "1.0");
}

TEST_F(AssistantsService, TellsOfAnAssistantNoMoreOnceItIsDeleted) {
  const std::string id = client.createAssistant();
  const std::string other = client.createAssistant();
  const std::string thread = client.createThread();
  const auto answer = client.remove("/v1/assistants/" + id);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, R"({"id":")" + id + R"(","object":"assistant.deleted","deleted":true})");
  EXPECT_EQ(client.get("/v1/assistants/" + id).status, 404);
  EXPECT_EQ(client.post("/v1/assistants/" + id, "{}").status, 404);
  EXPECT_EQ(client.remove("/v1/assistants/" + id).status, 404);
  EXPECT_EQ(client.post(thread + "/runs", R"({"assistant_id":")" + id + "\"}").status, 404);
  EXPECT_EQ(client.get("/v1/assistants/" + other).status, 200);
}

TEST_F(AssistantsService, MakesAThreadOfNothing) {
  const auto answer = client.post("/v1/threads", "");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(withoutTimes(answer),
            R"({"id":"thread_standin_1","object":"thread","created_at":1,"metadata":{},"tool_resources":{}})");
  EXPECT_EQ(client.get("/v1/threads/thread_standin_1").body, answer.body);
  EXPECT_EQ(memberText(client.post("/v1/threads", "{}"), "id"), "thread_standin_2");
}

TEST_F(AssistantsService, MakesAThreadWithItsFirstMessages) {
  const auto answer = client.post(
      "/v1/threads",
      R"({"metadata":{"a":"b"},"messages":[{"role":"user","content":"x"},{"role":"assistant","content":"y"}]})");
  EXPECT_EQ(withoutTimes(answer),
            R"({"id":"thread_standin_1","object":"thread","created_at":1,"metadata":{"a":"b"},"tool_resources":{}})");
  EXPECT_THAT(client.texts("/v1/threads/thread_standin_1"), ElementsAre("x", "y"));
}

TEST_F(AssistantsService, TellsOfAThreadNoMoreOnceItIsDeleted) {
  const std::string assistant = client.createAssistant();
  const std::string thread = client.createThread();
  const std::string run = client.run(thread, assistant);
  const std::string other = client.createThread();
  const auto answer = client.remove(thread);
  EXPECT_EQ(answer.body, R"({"id":"thread_standin_1","object":"thread.deleted","deleted":true})");
  EXPECT_EQ(client.get(thread).status, 404);
  EXPECT_EQ(client.remove(thread).status, 404);
  EXPECT_EQ(client.get(thread + "/messages").status, 404);
  EXPECT_EQ(client.post(thread + "/messages", R"({"role":"user","content":"x"})").status, 404);
  EXPECT_EQ(client.post(thread + "/runs", R"({"assistant_id":")" + assistant + "\"}").status, 404);
  EXPECT_EQ(client.get(run).status, 404);
  EXPECT_EQ(client.get(other).status, 200);
}

TEST_F(AssistantsService, ForgetsAllAtOnceAndGivesNoIdentifierAgain) {
  const std::string assistant = client.createAssistant();
  const std::string thread = client.createThread();
  server.forgetAssistants();
  EXPECT_EQ(client.get("/v1/assistants/" + assistant).status, 404);
  EXPECT_EQ(client.get(thread).status, 404);
  EXPECT_NE(client.createAssistant(), assistant);
  EXPECT_NE(client.createThread(), thread);
}

TEST_F(AssistantsService, TellsAMessage) {
  const std::string thread = client.createThread();
  const auto answer = client.post(thread + "/messages", R"({"role":"user","content":"How?","metadata":{"k":"v"}})");
  EXPECT_EQ(withoutTimes(answer),
            R"({"id":"msg_standin_1","object":"thread.message","created_at":1,"assistant_id":null,)"
            R"("thread_id":"thread_standin_1","run_id":null,"role":"user",)"
            R"("content":[{"type":"text","text":{"value":"How?","annotations":[]}}],"attachments":[],)"
            R"("metadata":{"k":"v"}})");
}

TEST_F(AssistantsService, TakesAMessageInParts) {
  const std::string thread = client.createThread();
  const auto answer =
      client.post(thread + "/messages",
                  R"({"role":"assistant","content":[{"type":"text","text":"a"},{"type":"text","text":"b"}]})");
  EXPECT_EQ(memberText(answer, "role"), "assistant");
  EXPECT_EQ(memberJson(answer, "content"), R"([{"type":"text","text":{"value":"a","annotations":[]}},)"
                                           R"({"type":"text","text":{"value":"b","annotations":[]}}])");
}

TEST_F(AssistantsService, TellsARunThatWaitsAndThenOneThatIsDone) {
  client.createAssistant(R"({"model":"standin-large","instructions":"two words","temperature":0.5})");
  const std::string thread = client.createThread();
  client.say(thread, "and three more");
  const auto answer = client.post(thread + "/runs", R"({"assistant_id":"asst_standin_1","max_prompt_tokens":1000})");
  const std::string opening =
      R"({"id":"run_standin_1","object":"thread.run","created_at":1,"thread_id":"thread_standin_1",)";
  const std::string ending =
      R"("assistant_id":"asst_standin_1","model":"standin-large","instructions":"two words","tools":[],"metadata":{},)"
      R"("temperature":0.5,"top_p":1.0,"max_prompt_tokens":1000,"max_completion_tokens":null,)"
      R"("truncation_strategy":{"type":"auto","last_messages":null},"response_format":"auto","tool_choice":"auto",)"
      R"("parallel_tool_calls":true})";
  EXPECT_EQ(withoutTimes(answer),
            opening +
                R"("status":"queued","started_at":null,"expires_at":null,"cancelled_at":null,"failed_at":null,)"
                R"("completed_at":null,"last_error":null,"incomplete_details":null,"usage":null,)" +
                ending);
  const auto done = client.get(thread + "/runs/run_standin_1");
  const COJson document(done.body);
  const COJsonValue* usage = document.obtainJsonValue("usage");
  ASSERT_TRUE(cfHasJsonType(usage, JsonType::Object)) << done.body;
  const double words = usage->obtainJsonValue("completion_tokens")->obtainNumber();
  EXPECT_GT(words, 0.0);
  EXPECT_EQ(usage->obtainJsonValue("prompt_tokens")->obtainNumber(), 5.0);
  EXPECT_EQ(usage->obtainJsonValue("total_tokens")->obtainNumber(), 5.0 + words);
  EXPECT_EQ(withoutTimes(done),
            opening +
                R"("status":"completed","started_at":1,"expires_at":null,"cancelled_at":null,"failed_at":null,)"
                R"("completed_at":1,"last_error":null,"incomplete_details":null,"usage":)" +
                usage->obtainJsonString() + "," + ending);
  EXPECT_EQ(client.get(thread + "/runs/run_standin_1").body, done.body);
}

TEST_F(AssistantsService, LetsARunBringItsOwnMembers) {
  client.createAssistant(R"({"model":"standin-small","instructions":"i","temperature":0.5,"metadata":{"a":"b"}})");
  const std::string thread = client.createThread();
  const auto answer =
      client.post(thread + "/runs", R"({"assistant_id":"asst_standin_1","model":"standin-reasoner","temperature":1,)"
                                    R"("instructions":"o","top_p":null,"stream":false})");
  EXPECT_EQ(memberText(answer, "model"), "standin-reasoner");
  EXPECT_EQ(memberJson(answer, "temperature"), "1");
  EXPECT_EQ(memberText(answer, "instructions"), "o");
  EXPECT_EQ(memberJson(answer, "top_p"), "1.0");
  EXPECT_EQ(memberJson(answer, "metadata"), "{}");
  EXPECT_EQ(memberJson(answer, "stream"), "");
}

TEST_F(AssistantsService, HoldsAConversation) {
  COJson body;
  body.addKeyValue("model")->setString("standin-small");
  body.addKeyValue("instructions")->setString(kShopInstructions);
  const std::string assistant = client.createAssistant(body.obtainJsonString());
  const std::string thread = client.createThread();
  client.say(thread, "Which tables are there?");
  client.run(thread, assistant);
  client.say(thread, "What did I ask before?");
  const auto run = client.get(client.run(thread, assistant));
  EXPECT_EQ(memberText(run, "status"), "completed");
  const std::vector<std::string> texts = client.texts(thread);
  ASSERT_EQ(texts.size(), 4U);
  EXPECT_THAT(texts[1], HasSubstr("5 tables, 1 view"));
  EXPECT_THAT(texts[3], HasSubstr(R"(you asked before: "Which tables are there?")"));
  EXPECT_THAT(client.texts(thread, "?run_id=" + memberText(run, "id")), ElementsAre(texts[3]));
}

TEST_F(AssistantsService, AnswersInANewMessageOfTheRun) {
  const std::string assistant = client.createAssistant();
  const std::string thread = client.createThread();
  client.say(thread, "x");
  client.run(thread, assistant);
  const auto answer = client.get(thread + "/messages?run_id=run_standin_1");
  const std::string text = client.texts(thread)[1];
  COJson quoted;
  quoted.setString(text);
  EXPECT_EQ(withoutTimes(answer),
            R"({"object":"list","data":[{"id":"msg_standin_2","object":"thread.message","created_at":1,)"
            R"("assistant_id":"asst_standin_1","thread_id":"thread_standin_1","run_id":"run_standin_1",)"
            R"("role":"assistant","content":[{"type":"text","text":{"value":)" +
                quoted.obtainJsonString() +
                R"(,"annotations":[]}}],"attachments":[],"metadata":{}}],"first_id":"msg_standin_2",)"
                R"("last_id":"msg_standin_2","has_more":false})");
}

TEST_F(AssistantsService, FollowsTheInstructionsOfTheRunBeforeThoseOfTheAssistant) {
  const std::string assistant =
      client.createAssistant(R"-({"model":"standin-small","instructions":"CREATE TABLE `log` (`ts` INTEGER)"})-");
  const std::string thread = client.createThread();
  client.say(thread, "Which tables are there?");
  client.create(thread + "/runs", R"({"assistant_id":")" + assistant + R"(","instructions":null})");
  EXPECT_THAT(client.texts(thread, "")[0], HasSubstr("log"));
  client.say(thread, "Which tables are there?");
  client.create(thread + "/runs",
                R"-({"assistant_id":"asst_standin_1","instructions":"CREATE TABLE `other` (`ts` INTEGER)"})-");
  EXPECT_THAT(client.texts(thread, "")[0], HasSubstr("other"));
  EXPECT_THAT(client.texts(thread, "")[0], testing::Not(HasSubstr("log")));
}

TEST_F(AssistantsService, TakesMessagesAndRunsBesideARunThatNobodyAsksFor) {
  const std::string assistant = client.createAssistant();
  const std::string thread = client.createThread();
  client.say(thread, "x");
  client.run(thread, assistant);
  client.run(thread, assistant);
  client.say(thread, "y");
  EXPECT_EQ(client.texts(thread).size(), 4U);
}

TEST_F(AssistantsService, KeepsThreadsApart) {
  const std::string assistant = client.createAssistant();
  const std::string one = client.createThread();
  const std::string other = client.createThread();
  client.say(one, "x");
  const std::string run = client.run(one, assistant);
  EXPECT_THAT(client.texts(other), IsEmpty());
  EXPECT_EQ(client.get(other + run.substr(one.size())).status, 404);
}

TEST_F(AssistantsService, ListsNoMessages) {
  const std::string list = R"({"object":"list","data":[],"first_id":null,"last_id":null,"has_more":false})";
  const std::string thread = client.createThread();
  EXPECT_EQ(client.get(thread + "/messages").body, list);
  client.say(thread, "x");
  EXPECT_EQ(client.get(thread + "/messages?run_id=run_standin_1").body, list);
}

struct ListCase {
  const char* name;
  std::string query;
  std::vector<std::string> texts;
  bool hasMore;
};
void PrintTo(const ListCase& row, std::ostream* out) { *out << row.name; }

class AssistantsList : public testing::TestWithParam<ListCase> {};

TEST_P(AssistantsList, IsAsTheQueryAsks) {
  const standin::Server server;
  AssistantsClient client(server);
  const std::string thread = client.createThread();
  for (int i = 1; i <= 25; ++i) client.say(thread, std::to_string(i));
  const auto answer = client.get(thread + "/messages" + GetParam().query);
  EXPECT_EQ(client.texts(thread, GetParam().query), GetParam().texts);
  EXPECT_EQ(memberText(answer, "first_id"), "msg_standin_" + GetParam().texts.front());
  EXPECT_EQ(memberText(answer, "last_id"), "msg_standin_" + GetParam().texts.back());
  EXPECT_EQ(memberJson(answer, "has_more"), GetParam().hasMore ? "true" : "false");
}

std::vector<std::string> numbers(int from, int to) {
  std::vector<std::string> texts;
  const int step = from < to ? 1 : -1;
  for (int i = from; i != to + step; i += step) texts.push_back(std::to_string(i));
  return texts;
}

INSTANTIATE_TEST_SUITE_P(Queries, AssistantsList,
                         testing::Values(ListCase{"usual", "", numbers(25, 6), true},
                                         ListCase{"empty_values", "?limit=&order=&run_id=&after=", numbers(25, 6),
                                                  true},
                                         ListCase{"newest_first", "?order=desc&limit=2", numbers(25, 24), true},
                                         ListCase{"oldest_first", "?order=asc", numbers(1, 20), true},
                                         ListCase{"one", "?limit=1", {"25"}, true},
                                         ListCase{"exactly_all", "?limit=25", numbers(25, 1), false},
                                         ListCase{"most", "?limit=100&order=asc", numbers(1, 25), false},
                                         ListCase{"next_page", "?after=msg_standin_6", numbers(5, 1), false},
                                         ListCase{"next_page_of_the_oldest_first",
                                                  "?order=asc&limit=3&after=msg_standin_6", numbers(7, 9), true}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(AssistantsClients, MayBeManyAtOnce) {
  constexpr int kClients = 4;
  constexpr int kConversations = 25;
  const standin::Server server;
  std::vector<std::string> problems(kClients);
  const auto converse = [&](int number) {
    AssistantsClient client(server);
    for (int i = 0; i < kConversations; ++i) {
      const std::string question = "q" + std::to_string(number) + "x" + std::to_string(i);
      const std::string assistant = client.createAssistant();
      const std::string thread = client.createThread();
      client.say(thread, question);
      client.run(thread, assistant);
      client.say(thread, "What did I ask before?");
      const auto run = client.get(client.run(thread, assistant));
      const std::vector<std::string> texts = client.texts(thread);
      if (memberText(run, "status") != "completed" || texts.size() != 4 || texts[0] != question ||
          texts[3].find("\"" + question + "\"") == std::string::npos || client.remove(thread).status != 200 ||
          client.remove("/v1/assistants/" + assistant).status != 200) {
        problems[static_cast<std::size_t>(number)] += question + " ";
      }
    }
  };
  {
    std::vector<std::jthread> threads;
    for (int number = 0; number < kClients; ++number) threads.emplace_back(converse, number);
  }
  EXPECT_THAT(problems, testing::Each(""));
  AssistantsClient client(server);
  EXPECT_EQ(client.createAssistant(), "asst_standin_" + std::to_string(kClients * kConversations + 1));
}

}  // namespace
