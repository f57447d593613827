// What holds for every service alike.
#include "error_case.h"
#include "shop.h"

#include <cf/json.h>

namespace {

using standin::Fault;

struct ServiceCase {
  const char* name;
  std::string modelsTarget;
  std::string chatTarget;
  std::vector<std::string> headers;
  std::string model;
  std::string bodyOpening;       // the members ahead of the conversation
  std::string instructionsRole;  // "": the instructions stand apart
  std::string unknownTarget;
};

void PrintTo(const ServiceCase& row, std::ostream* out) { *out << row.name; }

const std::vector<std::string> kBearer{std::string("Authorization: Bearer ") + kRightKey};
const std::string kQuery = std::string("?key=") + kRightKey;

const ServiceCase kOpenai{.name = "openai",
                          .modelsTarget = "/v1/models",
                          .chatTarget = "/v1/chat/completions",
                          .headers = kBearer,
                          .model = "standin-small",
                          .bodyOpening = R"({"model":"standin-small",)",
                          .instructionsRole = "developer",
                          .unknownTarget = "/nothing"};
const ServiceCase kDeepseek{.name = "deepseek",
                            .modelsTarget = "/models",
                            .chatTarget = "/chat/completions",
                            .headers = kBearer,
                            .model = "deepseek-chat",
                            .bodyOpening = R"({"model":"deepseek-chat","temperature":0.5,)",
                            .instructionsRole = "system",
                            .unknownTarget = "/chat/nothing"};
const ServiceCase kOllama{.name = "ollama",
                          .modelsTarget = "/api/tags",
                          .chatTarget = "/api/chat",
                          .headers = {},
                          .model = "standin:latest",
                          .bodyOpening = R"({"model":"standin:latest","stream":false,"options":{"temperature":0.5},)",
                          .instructionsRole = "system",
                          .unknownTarget = "/api/nothing"};
const ServiceCase kGemini{.name = "gemini",
                          .modelsTarget = "/v1beta/models" + kQuery,
                          .chatTarget = "/v1beta/models/gemini-standin:generateContent" + kQuery,
                          .headers = {},
                          .model = "gemini-standin",
                          .bodyOpening = R"({"generationConfig":{"temperature":0.5},)",
                          .instructionsRole = "",
                          .unknownTarget = "/v1beta/nothing" + kQuery};

std::string quoted(std::string_view text) {
  COJson document;
  document.setString(text);
  return document.obtainJsonString();
}

/// A turn with instructions, one question and its answer before it, and `question`.
std::string writeTurn(const ServiceCase& service, std::string_view question) {
  const auto content = [](std::string_view text) { return R"("content":)" + quoted(text) + "}"; };
  const auto parts = [](std::string_view text) { return R"("parts":[{"text":)" + quoted(text) + "}]}"; };
  if (service.instructionsRole.empty()) {
    return service.bodyOpening + R"("system_instruction":{)" + parts(kShopInstructions) +
           R"(,"contents":[{"role":"user",)" + parts("the first one") + R"(,{"role":"model",)" + parts("yes") +
           R"(,{"role":"user",)" + parts(question) + "]}";
  }
  return service.bodyOpening + R"("messages":[{"role":")" + service.instructionsRole + R"(",)" +
         content(kShopInstructions) + R"(,{"role":"user",)" + content("the first one") + R"(,{"role":"assistant",)" +
         content("yes") + R"(,{"role":"user",)" + content(question) + "]}";
}

class EveryService : public testing::TestWithParam<ServiceCase> {
 protected:
  standin::Server server{{.apiKey = kRightKey}};
  Client client{server.address()};

  Client::Answer ask(std::string_view question) {
    return client.post(GetParam().chatTarget, writeTurn(GetParam(), question), GetParam().headers);
  }
};

TEST_P(EveryService, ListsTheModelOfTheTests) {
  const auto answer = client.get(GetParam().modelsTarget, GetParam().headers);
  EXPECT_EQ(answer.status, 200);
  EXPECT_NE(answer.body.find(GetParam().model + "\""), std::string::npos) << answer.body;
}

TEST_P(EveryService, AnswersFromTheSchemaInTheInstructions) {
  const auto answer = ask("Which tables are there?");
  EXPECT_EQ(answer.status, 200);
  EXPECT_NE(answer.body.find("5 tables, 1 view"), std::string::npos) << answer.body;
  for (const std::string table : {"customers", "orders", "products", "order_lines", "shipments", "open_orders"}) {
    EXPECT_NE(answer.body.find(table), std::string::npos) << table;
  }
}

TEST_P(EveryService, GivesTheHistoryToTheRules) {
  EXPECT_NE(ask("What did I ask before?").body.find(R"(you asked before: \"the first one\")"), std::string::npos);
  EXPECT_NE(ask("What did you answer?").body.find(R"(I answered before: \"yes\")"), std::string::npos);
}

TEST_P(EveryService, LogsWhatItWasSent) {
  ask("x");
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests()[0].method, "POST");
  EXPECT_EQ(server.requests()[0].path, GetParam().chatTarget.substr(0, GetParam().chatTarget.find('?')));
  EXPECT_EQ(server.requests()[0].body, writeTurn(GetParam(), "x"));
}

TEST_P(EveryService, FollowsScripts) {
  server.script({.status = 503, .body = "busy"});
  server.script({.fault = Fault::CutBody});
  const auto first = ask("x");
  EXPECT_EQ(first.status, 503);
  EXPECT_EQ(first.body, "busy");
  EXPECT_EQ(ask("x").result, CURLE_PARTIAL_FILE);
  EXPECT_EQ(ask("x").status, 200);
}

TEST_P(EveryService, ShowsNoKey) {
  const auto withWrongKey = [](std::string text) {
    const std::size_t at = text.find(kRightKey);
    return at == std::string::npos ? text : text.replace(at, std::string_view(kRightKey).size(), kWrongKey);
  };
  std::vector<std::string> headers;
  for (const std::string& header : GetParam().headers) headers.push_back(withWrongKey(header));
  for (const std::string& target : {GetParam().modelsTarget, GetParam().chatTarget, GetParam().unknownTarget}) {
    for (const std::string method : {"GET", "POST"}) {
      const std::string body = "{}";
      const auto answer = client.send(method, withWrongKey(target), headers, &body);
      EXPECT_EQ((answer.head + answer.body).find(kWrongKey), std::string::npos) << method << target;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Services, EveryService, testing::Values(kOpenai, kDeepseek, kOllama, kGemini),
                         [](const auto& row) { return std::string(row.param.name); });

struct HomeCase {
  const char* name;
  std::string path;
  std::string answer;  // how it begins
};
class UnknownPath : public testing::TestWithParam<HomeCase> {};

TEST_P(UnknownPath, IsAnsweredByTheServiceAtHomeThere) {
  const standin::Server server;
  const auto answer = Client(server.address()).get(GetParam().path);
  EXPECT_EQ(answer.status, 404);
  EXPECT_TRUE(answer.body.starts_with(GetParam().answer)) << answer.body;
}

INSTANTIATE_TEST_SUITE_P(Paths, UnknownPath,
                         testing::Values(HomeCase{"openai", "/v1/nothing", R"({"error":{"message":"Invalid URL)"},
                                         HomeCase{"nobodys", "/nothing", R"({"error":{"message":"Invalid URL)"},
                                         HomeCase{"nearly_gemini", "/v1betas/x", R"({"error":{"message":"Invalid URL)"},
                                         HomeCase{"ollama", "/api/nothing", "404 page not found"},
                                         HomeCase{"gemini", "/v1beta/nothing", "<!DOCTYPE html>"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
