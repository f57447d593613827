#include "error_case.h"

#include <cf/json.h>

namespace {

const std::string kKey = std::string("Authorization: Bearer ") + kRightKey;

constexpr const char* kQuestion = R"({"model":"deepseek-chat","messages":[{"role":"user","content":"x"}]})";

class DeepseekService : public testing::Test {
 protected:
  standin::Server server{{.apiKey = kRightKey}};
  Client client{server.address()};
};

TEST_F(DeepseekService, ListsModelsWithoutTimesAndUnsorted) {
  const auto answer = client.get("/models", {kKey});
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, R"({"object":"list","data":[{"id":"deepseek-chat","object":"model","owned_by":"deepseek"},)"
                         R"({"id":"deepseek-reasoner","object":"model","owned_by":"deepseek"},)"
                         R"({"id":"deepseek-coder","object":"model","owned_by":"deepseek"}]})");
}

TEST_F(DeepseekService, SendsBlankLinesAheadOfACompletion) {
  const auto answer = client.post("/chat/completions", kQuestion, {kKey});
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.contentType, "application/json");
  EXPECT_TRUE(answer.body.starts_with("\n\n{\"id\":\"")) << answer.body;
  const COJson document(answer.body);
  EXPECT_EQ(document.obtainJsonValue("object")->obtainString(), "chat.completion");
  EXPECT_EQ(document.obtainJsonValue("model")->obtainString(), "deepseek-chat");
  const COJsonValue* choice = document.obtainJsonValue("choices")->obtainArrayItem(0);
  EXPECT_EQ(choice->obtainJsonValue("finish_reason")->obtainString(), "stop");
  EXPECT_EQ(choice->obtainJsonValue("message")->obtainJsonKeys(), (std::vector<std::string>{"role", "content"}));
}

TEST_F(DeepseekService, TellsTheReasoningOfAModelThatReasons) {
  const auto answer = client.post(
      "/chat/completions", R"({"model":"deepseek-reasoner","messages":[{"role":"user","content":"x"}]})", {kKey});
  const COJson document(answer.body);
  const COJsonValue* message = document.obtainJsonValue("choices")->obtainArrayItem(0)->obtainJsonValue("message");
  EXPECT_NE(message->obtainJsonValue("reasoning_content")->obtainString(), "");
  EXPECT_NE(message->obtainJsonValue("content")->obtainString(), "");
}

TEST_F(DeepseekService, SaysNothingToAWrongMethodOrPath) {
  EXPECT_EQ(client.post("/models", "{}", {kKey}).status, 405);
  const auto answer = client.get("/chat/nothing", {kKey});
  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.body, "");
}

ErrorCase chatError(const char* name, std::string body, std::string message) {
  return {name, "POST", "/chat/completions", {kKey}, std::move(body), 400, std::move(message), "invalid_request_error"};
}

std::string withRole(const std::string& role) {
  return R"({"model":"deepseek-chat","messages":[{"role":")" + role + R"(","content":"x"}]})";
}

class DeepseekError : public ErrorTest {};

TEST_P(DeepseekError, HasTheServicesShape) {
  const auto sent = answer();
  EXPECT_EQ(sent.status, GetParam().status);
  EXPECT_EQ(sent.contentType, "application/json");
  const COJson document(sent.body);
  const COJsonValue* error = document.obtainJsonValue("error");
  ASSERT_NE(error, nullptr) << sent.body;
  EXPECT_NE(error->obtainJsonValue("message")->obtainString().find(GetParam().message), std::string_view::npos)
      << sent.body;
  EXPECT_EQ(error->obtainJsonValue("type")->obtainString(), GetParam().label);
  EXPECT_EQ(error->obtainJsonValue("param")->obtainType(), JsonType::Null);
  EXPECT_EQ(error->obtainJsonValue("code")->obtainString(), "invalid_request_error");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DeepseekError,
    testing::Values(
        ErrorCase{"no_key", "GET", "/models", {}, "", 401, "auth header format should be", "authentication_error"},
        ErrorCase{"wrong_key",
                  "GET",
                  "/models",
                  {std::string("Authorization: Bearer ") + kWrongKey},
                  "",
                  401,
                  "Authentication Fails, Your api key: ****hijk is invalid",
                  "authentication_error"},
        ErrorCase{"wrong_short_key",
                  "POST",
                  "/chat/completions",
                  {"Authorization: Bearer short"},
                  kQuestion,
                  401,
                  "Your api key: **** is invalid",
                  "authentication_error"},
        chatError("not_json", "{", "Failed to parse the request body as JSON"),
        chatError("no_model", R"({"messages":[]})", "missing field `model`"),
        chatError("no_messages", R"({"model":"deepseek-chat"})", "missing field `messages`"),
        chatError("messages_no_array", R"({"model":"deepseek-chat","messages":"x"})",
                  "messages: invalid type: string, expected a sequence"),
        chatError("messages_empty", R"({"model":"deepseek-chat","messages":[]})", "Empty input messages"),
        chatError("unknown_model", R"({"model":"nope","messages":[{"role":"user","content":"x"}]})", "Model Not Exist"),
        chatError("developer", withRole("developer"),
                  "Failed to deserialize the JSON body into the target type: messages[0].role: unknown variant "
                  "`developer`, expected one of `system`, `user`, `assistant`, `tool`"),
        chatError("function", withRole("function"), "unknown variant `function`"),
        chatError("temperature_too_high",
                  R"({"model":"deepseek-chat","temperature":2.5,"messages":[{"role":"user","content":"x"}]})",
                  "the valid range of temperature is [0, 2]")),
    errorName);

}  // namespace
