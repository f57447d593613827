#include "error_case.h"

#include <cf/json.h>

#include <algorithm>
#include <cctype>
#include <sstream>

namespace {

class OllamaService : public testing::Test {
 protected:
  standin::Server server{{.apiKey = kRightKey}};  // which this service never asks for
  Client client{server.address()};
};

std::string question(const std::string& model, const std::string& members = "") {
  return R"({"model":")" + model + R"(","messages":[{"role":"user","content":"hello"}])" + members + "}";
}

TEST_F(OllamaService, ListsItsModels) {
  const auto answer = client.get("/api/tags", {});
  EXPECT_EQ(answer.status, 200);
  const COJson document(answer.body);
  const COJsonValue* models = document.obtainJsonValue("models");
  std::vector<std::string> names;
  for (std::size_t i = 0; i < models->obtainArraySize(); ++i) {
    names.emplace_back(models->obtainArrayItem(i)->obtainJsonValue("name")->obtainString());
  }
  EXPECT_EQ(names, (std::vector<std::string>{"standin:latest", "standin-code:latest", "standin:7b"}));
}

TEST_F(OllamaService, IsRunning) {
  const auto answer = client.get("/", {});
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "Ollama is running");
  EXPECT_EQ(answer.contentType, "text/plain");
}

TEST_F(OllamaService, IgnoresAKey) { EXPECT_EQ(client.get("/api/tags", {"Authorization: Bearer any"}).status, 200); }

TEST_F(OllamaService, AnswersInOneObjectWhenAskedTo) {
  const auto answer =
      client.post("/api/chat", question("standin", R"(,"stream":false,"options":{"temperature":0.5})"), {});
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.contentType, "application/json; charset=utf-8");
  const COJson document(answer.body);
  EXPECT_EQ(document.obtainJsonValue("model")->obtainString(), "standin");
  std::string time(document.obtainJsonValue("created_at")->obtainString());
  std::replace_if(
      time.begin(), time.end(), [](unsigned char c) { return std::isdigit(c) != 0; }, '0');
  EXPECT_EQ(time, "0000-00-00T00:00:00.000000Z");
  const COJsonValue* message = document.obtainJsonValue("message");
  EXPECT_EQ(message->obtainJsonValue("role")->obtainString(), "assistant");
  EXPECT_NE(message->obtainJsonValue("content")->obtainString(), "");
  EXPECT_EQ(document.obtainJsonValue("done_reason")->obtainString(), "stop");
  EXPECT_TRUE(document.obtainJsonValue("done")->obtainBool());
  EXPECT_EQ(document.obtainJsonValue("prompt_eval_count")->obtainNumber(), 1.0);
}

struct StreamCase {
  const char* name;
  std::string members;
};
class OllamaStream : public testing::TestWithParam<StreamCase> {};

TEST_P(OllamaStream, BringsTheSameTextInLines) {
  const standin::Server server;
  Client client(server.address());
  const auto whole = client.post("/api/chat", question("standin", R"(,"stream":false)"), {});
  const auto answer = client.post("/api/chat", question("standin", GetParam().members), {});
  EXPECT_EQ(answer.contentType, "application/x-ndjson");
  std::istringstream lines(answer.body);
  std::string text;
  int unfinished = 0;
  bool done = false;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_FALSE(done) << line;
    const COJson document(line);
    ASSERT_TRUE(document.getIsValidJson()) << line;
    text += document.obtainJsonValue("message")->obtainJsonValue("content")->obtainString();
    done = document.obtainJsonValue("done")->obtainBool();
    if (!done) ++unfinished;
  }
  EXPECT_TRUE(done);
  EXPECT_GT(unfinished, 2);
  EXPECT_EQ(text, COJson(whole.body).obtainJsonValue("message")->obtainJsonValue("content")->obtainString());
}

INSTANTIATE_TEST_SUITE_P(Members, OllamaStream,
                         testing::Values(StreamCase{"absent", ""}, StreamCase{"null", R"(,"stream":null)"},
                                         StreamCase{"true", R"(,"stream":true)"}),
                         [](const auto& row) { return std::string(row.param.name); });

struct AcceptedCase {
  const char* name;
  std::string body;
};
class OllamaChat : public testing::TestWithParam<AcceptedCase> {};

TEST_P(OllamaChat, IsAccepted) {
  const standin::Server server;
  EXPECT_EQ(Client(server.address()).post("/api/chat", GetParam().body, {}).status, 200);
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, OllamaChat,
    testing::Values(AcceptedCase{"tagged_latest", question("standin:latest")},
                    AcceptedCase{"other_tag", question("standin:7b")},
                    AcceptedCase{"no_messages", R"({"model":"standin"})"},
                    AcceptedCase{"unknown_role", R"({"model":"standin","messages":[{"role":"boss","content":"x"}]})"},
                    AcceptedCase{"members_absent", R"({"model":"standin","messages":[{}]})"},
                    AcceptedCase{"nulls", question("standin", R"(,"options":{"temperature":null})")},
                    AcceptedCase{"unknown_members", question("standin", R"(,"think":1)")}),
    [](const auto& row) { return std::string(row.param.name); });

ErrorCase chatError(const char* name, std::string body, long status, std::string message) {
  return {name, "POST", "/api/chat", {}, std::move(body), status, std::move(message), ""};
}

class OllamaError : public ErrorTest {};

TEST_P(OllamaError, IsOneText) {
  const auto sent = answer();
  EXPECT_EQ(sent.status, GetParam().status);
  const COJson document(sent.body);
  ASSERT_EQ(document.obtainJsonKeys(), std::vector<std::string>{"error"}) << sent.body;
  EXPECT_EQ(document.obtainJsonValue("error")->obtainString(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, OllamaError,
    testing::Values(
        chatError("empty", "", 400, "missing request body"), chatError("not_json", "{", 400, "unexpected EOF"),
        chatError("no_model", R"({"messages":[]})", 400, "model is required"),
        chatError("unknown_model", question("nope"), 404, "model 'nope' not found"),
        chatError("unknown_tag", question("standin:9b"), 404, "model 'standin:9b' not found"),
        chatError("latest_of_a_tag", question("standin-code:7b"), 404, "model 'standin-code:7b' not found"),
        chatError("temperature_no_number", question("standin", R"(,"options":{"temperature":"warm"})"), 500,
                  "option \"temperature\" must be of type float32"),
        chatError("stream_no_bool", question("standin", R"(,"stream":"no")"), 400,
                  "json: cannot unmarshal string into Go struct field ChatRequest.stream of type bool"),
        chatError("messages_no_array", R"({"model":"standin","messages":{}})", 400,
                  "json: cannot unmarshal object into Go struct field ChatRequest.messages of type []api.Message"),
        chatError("content_no_string", R"({"model":"standin","messages":[{"role":"user","content":1}]})", 400,
                  "json: cannot unmarshal number into Go struct field ChatRequest.messages[0].content of type string")),
    errorName);

class OllamaPath : public ErrorTest {};

TEST_P(OllamaPath, IsRefusedInPlainText) {
  const auto sent = answer();
  EXPECT_EQ(sent.status, GetParam().status);
  EXPECT_EQ(sent.contentType, "text/plain");
  EXPECT_EQ(sent.body, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, OllamaPath,
    testing::Values(ErrorCase{"unknown", "GET", "/api/nothing", {}, "", 404, "404 page not found", ""},
                    ErrorCase{"deeper", "POST", "/api/chat/more", {}, "{}", 404, "404 page not found", ""},
                    ErrorCase{"chat_with_get", "GET", "/api/chat", {}, "", 405, "405 method not allowed", ""},
                    ErrorCase{"tags_with_post", "POST", "/api/tags", {}, "{}", 405, "405 method not allowed", ""},
                    ErrorCase{"root_with_post", "POST", "/", {}, "{}", 405, "405 method not allowed", ""}),
    errorName);

}  // namespace
