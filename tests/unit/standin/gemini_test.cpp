#include "error_case.h"

#include <cf/json.h>

namespace {

const std::string kQuery = std::string("?key=") + kRightKey;
const std::string kGenerate = "/v1beta/models/gemini-standin:generateContent" + kQuery;

class GeminiService : public testing::Test {
 protected:
  standin::Server server{{.apiKey = kRightKey}};
  Client client{server.address()};
};

struct Page {
  std::vector<std::string> names;
  std::string next;
};

Page readPage(const std::string& body) {
  const COJson document(body);
  const COJsonValue* models = document.obtainJsonValue("models");
  Page page;
  for (std::size_t i = 0; i < models->obtainArraySize(); ++i) {
    page.names.emplace_back(models->obtainArrayItem(i)->obtainJsonValue("name")->obtainString());
  }
  const COJsonValue* next = document.obtainJsonValue("nextPageToken");
  if (next != nullptr) page.next = next->obtainString();
  return page;
}

const std::vector<std::string> kNames{"models/gemini-standin-pro", "models/gemini-standin",
                                      "models/gemini-standin-embedding", "models/gemini-standin-lite"};

TEST_F(GeminiService, ListsItsModelsOnOnePageUnlessAsked) {
  for (const std::string size : {"", "&pageSize=0", "&pageSize=4", "&pageSize=1000"}) {
    const auto answer = client.get("/v1beta/models" + kQuery + size, {});
    ASSERT_EQ(answer.status, 200) << size;
    const Page page = readPage(answer.body);
    EXPECT_EQ(page.names, kNames) << size;
    EXPECT_EQ(page.next, "") << size;
  }
}

TEST_F(GeminiService, ListsItsModelsPageByPage) {
  std::vector<std::string> names;
  std::vector<std::size_t> sizes;
  std::string token;
  do {
    const std::string target = "/v1beta/models" + kQuery + "&pageSize=3&pageToken=" + token;
    const Page page = readPage(client.get(target, {}).body);
    names.insert(names.end(), page.names.begin(), page.names.end());
    sizes.push_back(page.names.size());
    token = page.next;
  } while (!token.empty() && sizes.size() < kNames.size());
  EXPECT_EQ(names, kNames);
  EXPECT_EQ(sizes, (std::vector<std::size_t>{3, 1}));
}

TEST_F(GeminiService, HasAModelThatGeneratesNothing) {
  const COJson document(client.get("/v1beta/models" + kQuery, {}).body);
  const COJsonValue* model = document.obtainJsonValue("models")->obtainArrayItem(2);
  EXPECT_EQ(model->obtainJsonValue("supportedGenerationMethods")->obtainJsonString(),
            R"(["embedContent","countTokens"])");
}

TEST_F(GeminiService, GeneratesContent) {
  const auto answer = client.post(kGenerate, R"({"contents":[{"role":"user","parts":[{"text":"a b"}]}]})", {});
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.contentType, "application/json");
  const COJson document(answer.body);
  EXPECT_EQ(document.obtainJsonValue("modelVersion")->obtainString(), "gemini-standin");
  EXPECT_EQ(document.obtainJsonValue("usageMetadata")->obtainJsonValue("promptTokenCount")->obtainNumber(), 2.0);
  const COJsonValue* candidate = document.obtainJsonValue("candidates")->obtainArrayItem(0);
  EXPECT_EQ(candidate->obtainJsonValue("finishReason")->obtainString(), "STOP");
  EXPECT_EQ(candidate->obtainJsonValue("index")->obtainNumber(), 0.0);
  const COJsonValue* content = candidate->obtainJsonValue("content");
  EXPECT_EQ(content->obtainJsonValue("role")->obtainString(), "model");
  EXPECT_NE(content->obtainJsonValue("parts")->obtainArrayItem(0)->obtainJsonValue("text")->obtainString(), "");
}

struct AcceptedCase {
  const char* name;
  std::string members;
};
class GeminiBody : public testing::TestWithParam<AcceptedCase> {};

TEST_P(GeminiBody, GivesTheInstructionsToTheRules) {
  const standin::Server server({.apiKey = kRightKey});
  const auto answer =
      Client(server.address())
          .post(kGenerate,
                "{" + GetParam().members +
                    R"(,"contents":[{"parts":[{"text":"how many "},{"inlineData":{}},{"text":"log"}]}]})",
                {});
  EXPECT_EQ(answer.status, 200);
  EXPECT_NE(answer.body.find("SELECT COUNT(*)"), std::string::npos) << answer.body;
}

const std::string kSystem = R"-({"parts":[{"text":"CREATE TABLE `log` "},{"text":"(`ts` INTEGER)"}]})-";

INSTANTIATE_TEST_SUITE_P(Names, GeminiBody,
                         testing::Values(AcceptedCase{"camel_case", R"("systemInstruction":)" + kSystem +
                                                                        R"(,"generationConfig":{"temperature":2})"},
                                         AcceptedCase{"snake_case", R"("system_instruction":)" + kSystem +
                                                                        R"(,"generation_config":{"temperature":0})"},
                                         AcceptedCase{"nulls",
                                                      R"("system_instruction":)" + kSystem +
                                                          R"(,"systemInstruction":null,"generationConfig":null)"}),
                         [](const auto& row) { return std::string(row.param.name); });

ErrorCase listError(const char* name, std::string query, long status, std::string message, std::string label) {
  return {name, "GET", "/v1beta/models" + query, {}, "", status, std::move(message), std::move(label)};
}

ErrorCase bodyError(const char* name, std::string body, std::string message) {
  return {name, "POST", kGenerate, {}, std::move(body), 400, std::move(message), "INVALID_ARGUMENT"};
}

ErrorCase modelError(const char* name, const std::string& model, std::string message) {
  return {name,
          "POST",
          "/v1beta/models/" + model + ":generateContent" + kQuery,
          {},
          R"({"contents":[{"parts":[{"text":"x"}]}]})",
          404,
          std::move(message),
          "NOT_FOUND"};
}

std::string withMember(const std::string& member) {
  return "{" + member + R"(,"contents":[{"role":"user","parts":[{"text":"x"}]}]})";
}

class GeminiError : public ErrorTest {};

TEST_P(GeminiError, HasTheServicesShape) {
  const auto sent = answer();
  EXPECT_EQ(sent.status, GetParam().status);
  const COJson document(sent.body);
  const COJsonValue* error = document.obtainJsonValue("error");
  ASSERT_NE(error, nullptr) << sent.body;
  EXPECT_EQ(error->obtainJsonValue("code")->obtainNumber(), static_cast<double>(GetParam().status));
  EXPECT_NE(error->obtainJsonValue("message")->obtainString().find(GetParam().message), std::string_view::npos)
      << sent.body;
  EXPECT_EQ(error->obtainJsonValue("status")->obtainString(), GetParam().label);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, GeminiError,
    testing::Values(
        listError("no_key", "", 403, "Method doesn't allow unregistered callers", "PERMISSION_DENIED"),
        listError("empty_key", "?key=", 403, "Method doesn't allow unregistered callers", "PERMISSION_DENIED"),
        listError("wrong_key", std::string("?key=") + kWrongKey, 400, "API key not valid. Please pass a valid API key.",
                  "INVALID_ARGUMENT"),
        listError("page_size_no_number", kQuery + "&pageSize=3x", 400, "Invalid value at 'page_size'",
                  "INVALID_ARGUMENT"),
        listError("page_size_negative", kQuery + "&pageSize=-1", 400, "Invalid value at 'page_size'",
                  "INVALID_ARGUMENT"),
        listError("page_token", kQuery + "&pageToken=nope", 400, "Invalid page token", "INVALID_ARGUMENT"),
        ErrorCase{"key_in_a_header",
                  "POST",
                  "/v1beta/models/gemini-standin:generateContent",
                  {std::string("Authorization: Bearer ") + kRightKey},
                  "{}",
                  403,
                  "unregistered callers",
                  "PERMISSION_DENIED"},
        modelError("unknown_model", "nope", "models/nope is not found for API version v1beta"),
        modelError("model_without_generation", "gemini-standin-embedding", "not supported for generateContent"),
        bodyError("not_json", "{", "Invalid JSON payload received"),
        bodyError("not_an_object", "[]", "Invalid JSON payload received"),
        bodyError("unknown_name", withMember(R"("temperature":1)"), "Unknown name \"temperature\": Cannot find field."),
        bodyError("messages", R"({"messages":[]})", "Unknown name \"messages\""),
        bodyError("no_contents", "{}", "contents is not specified"),
        bodyError("contents_empty", R"({"contents":[]})", "contents is not specified"),
        bodyError("contents_no_list", R"({"contents":"x"})", "Invalid value at 'contents'"),
        bodyError("assistant", R"({"contents":[{"role":"assistant","parts":[{"text":"x"}]}]})",
                  "Please use a valid role: user, model."),
        bodyError("system", R"({"contents":[{"role":"system","parts":[{"text":"x"}]}]})", "Please use a valid role"),
        bodyError("no_parts", R"({"contents":[{"role":"user"}]})", "contents[0].parts"),
        bodyError("parts_empty", R"({"contents":[{"role":"user","parts":[]}]})", "contents[0].parts"),
        bodyError("text_no_string", R"({"contents":[{"parts":[{"text":1}]}]})", "'contents[0].parts[0].text'"),
        bodyError("system_text", withMember(R"("systemInstruction":"x")"), "Invalid value at 'system_instruction'"),
        bodyError("temperature_no_number", withMember(R"("generationConfig":{"temperature":"x"})"),
                  "'generation_config.temperature' (TYPE_FLOAT)"),
        bodyError("temperature_too_high", withMember(R"("generation_config":{"temperature":2.1})"),
                  "temperature must be in the range [0.0, 2.0]"),
        bodyError("temperature_too_low", withMember(R"("generationConfig":{"temperature":-1})"),
                  "temperature must be in the range [0.0, 2.0]")),
    errorName);

class GeminiPath : public ErrorTest {};

TEST_P(GeminiPath, IsAnsweredByAPage) {
  const auto sent = answer();
  EXPECT_EQ(sent.status, 404);
  EXPECT_EQ(sent.contentType, "text/html; charset=UTF-8");
  EXPECT_NE(sent.body.find(GetParam().message), std::string::npos);
  EXPECT_EQ(sent.body.find(kRightKey), std::string::npos);
}

ErrorCase pathError(const char* name, const char* method, const std::string& path) {
  return {name, method, path + kQuery, {}, "", 404, "Error 404", ""};
}

INSTANTIATE_TEST_SUITE_P(
    Rows, GeminiPath,
    testing::Values(pathError("unknown", "GET", "/v1beta/nothing"),
                    pathError("models_with_post", "POST", "/v1beta/models"),
                    pathError("generate_with_get", "GET", "/v1beta/models/gemini-standin:generateContent"),
                    pathError("other_method", "POST", "/v1beta/models/gemini-standin:countTokens"),
                    pathError("name_in_full", "POST", "/v1beta/models/models/gemini-standin:generateContent")),
    errorName);

}  // namespace
