// What the host gets of replies in the shapes that the real services send.
#include "fixture.h"
#include "support/streams.h"

namespace {

struct Sample {
  const char* name;
  QAIAssistantType type;
  int status;
  const char* body;
  const char* told;  // the reply's text, or the error's
};
void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

std::string sampleName(const testing::TestParamInfo<Sample>& row) { return row.param.name; }

const std::vector<Sample> kOpenAISamples{
    Sample{"openai_plain", OPENAI_v1, 200,
           R"({"id":"chatcmpl-1","object":"chat.completion","created":1741500000,"model":"m","choices":[{"index":0,)"
           R"("message":{"role":"assistant","content":"Good day.","refusal":null,"annotations":[]},"logprobs":null,)"
           R"("finish_reason":"stop"}],"usage":{"prompt_tokens":9,"completion_tokens":3,"total_tokens":12},)"
           R"("service_tier":"default"})",
           "Good day."},
    Sample{"openai_tool_call_without_content", OPENAI_v1, 200,
           R"({"choices":[{"index":0,"message":{"role":"assistant","content":null,"tool_calls":[{"id":"c","type":)"
           R"("function","function":{"name":"f","arguments":"{\n}"}}]},"finish_reason":"tool_calls"}]})",
           ""},
    Sample{"openai_logprobs", OPENAI_v1, 200,
           R"({"choices":[{"index":0,"message":{"role":"assistant","content":"Yes"},"logprobs":{"content":[{"token":)"
           R"("Yes","logprob":-0.25,"bytes":[89,101,115],"top_logprobs":[]}]},"finish_reason":"stop"}]})",
           "Yes"},
    Sample{"openai_compatible_server", OPENAI_v1, 200,
           R"({"choices":[{"finish_reason":"length","index":0,"message":{"role":"assistant","content":" near"}}],)"
           R"("created":1,"model":"tiny","object":"chat.completion","timings":{"prompt_ms":1.5}})",
           " near"},
    Sample{"openai_value", OPENAI_v1, 400,
           R"({"error":{"message":"Invalid value: 'chief'.","type":"invalid_request_error",)"
           R"("param":"messages[0].role","code":"invalid_value"}})",
           "Invalid value: 'chief'."},
    Sample{"openai_temperature_value", OPENAI_v1, 400,
           R"({"error":{"message":"Unsupported value: 'temperature'","type":"invalid_request_error",)"
           R"("param":"temperature","code":"unsupported_value"}})",
           "Unsupported value: 'temperature'"},
    Sample{"openai_temperature_parameter", OPENAI_v1, 400,
           R"({"error":{"message":"Unsupported parameter: 'temperature'","code":"unsupported_parameter"}})",
           "Unsupported parameter: 'temperature'"},
    Sample{"openai_key", OPENAI_v1, 401,
           R"({"error":{"message":"Incorrect API key provided","type":"invalid_request_error","param":null,)"
           R"("code":"invalid_api_key"}})",
           "Incorrect API key provided"},
    Sample{"openai_model", OPENAI_v1, 404,
           R"({"error":{"message":"The model `x` does not exist","param":null,"code":"model_not_found"}})",
           "The model `x` does not exist"},
    Sample{"openai_quota", OPENAI_v1, 429,
           R"({"error":{"message":"Your quota is used up.","type":"insufficient_quota","code":"insufficient_quota"}})",
           "Your quota is used up."}};

const std::vector<Sample> kDeepSeekSamples{
    Sample{"deepseek_plain", DEEPSEEK, 200,
           "\n\n\n{\"id\":\"1\",\"object\":\"chat.completion\",\"choices\":[{\"index\":0,\"message\":{\"role\":"
           "\"assistant\",\"content\":\"Good day 😊\"},\"logprobs\":null,\"finish_reason\":\"stop\"}],\"usage\":{"
           "\"prompt_cache_hit_tokens\":0}}",
           "Good day 😊"},
    Sample{"deepseek_reasoning_is_not_the_reply", DEEPSEEK, 200,
           R"({"choices":[{"index":0,"message":{"role":"assistant","content":"4","reasoning_content":"2+2 …"},)"
           R"("finish_reason":"stop"}]})",
           "4"},
    Sample{"deepseek_role", DEEPSEEK, 400,
           R"({"error":{"message":"messages[0].role: unknown variant `developer`","type":"invalid_request_error",)"
           R"("param":null,"code":"invalid_request_error"}})",
           "messages[0].role: unknown variant `developer`"},
    Sample{"deepseek_model", DEEPSEEK, 400,
           R"({"error":{"message":"Model Not Exist","type":"invalid_request_error","param":null}})", "Model Not Exist"},
    Sample{"deepseek_reasoning_missing", DEEPSEEK, 400,
           R"({"error":{"message":"The `reasoning_content` must be passed back.","param":null}})",
           "The `reasoning_content` must be passed back."},
    Sample{"deepseek_key", DEEPSEEK, 401,
           R"({"error":{"message":"Your api key: ****abcd is invalid","type":"authentication_error","param":null}})",
           "Your api key: ****abcd is invalid"},
    Sample{"deepseek_key_header", DEEPSEEK, 401,
           R"({"error":{"message":"auth header format should be Bearer","type":"authentication_error","param":null}})",
           "auth header format should be Bearer"},
    Sample{"deepseek_key_user", DEEPSEEK, 401, R"({"error":{"message":"no such user","code":"x"}})", "no such user"},
    Sample{"deepseek_money", DEEPSEEK, 402,
           R"({"error":{"message":"Insufficient Balance","type":"unknown_error","param":null}})",
           "Insufficient Balance"}};

const std::vector<Sample> kOllamaSamples{
    Sample{"ollama_plain", OLLAMA, 200,
           R"({"model":"tiny","created_at":"2026-01-01T00:00:00.5Z","message":{"role":"assistant","content":)"
           R"( " été"},"done_reason":"stop","done":true,"total_duration":2994086530,"eval_count":28})",
           " été"},
    Sample{"ollama_stream_is_no_reply", OLLAMA, 200,
           "{\"message\":{\"role\":\"assistant\",\"content\":\"a\"},\"done\":false}\n"
           "{\"message\":{\"role\":\"assistant\",\"content\":\"b\"},\"done\":true}\n",
           "error: Invalid response: g/api/chat"},
    Sample{"ollama_another_role_is_an_empty_reply", OLLAMA, 200,
           R"({"message":{"role":"tool","content":"a"},"done":true})", ""},
    Sample{"ollama_missing_role_is_an_empty_reply", OLLAMA, 200, R"({"message":{"content":"a"},"done":true})", ""},
    Sample{"ollama_message_is_no_object", OLLAMA, 200, R"({"message":"a"})",
           "error: Unsupported data format: p/api/chat"},
    Sample{"ollama_required", OLLAMA, 400, R"({"error":"model is required"})", R"({"error":"model is required"})"},
    Sample{"ollama_no_body", OLLAMA, 400, R"({"error":"missing body"})", R"({"error":"missing body"})"},
    Sample{"ollama_cloud", OLLAMA, 401, R"({"error":"unauthorized","signin_url":"https://example.com"})",
           R"({"error":"unauthorized","signin_url":"https://example.com"})"},
    Sample{"ollama_foreign_origin", OLLAMA, 403, "", "HTTP 403 Forbidden"},
    Sample{"ollama_model", OLLAMA, 404, R"({"error":"model 'x' not found"})", R"({"error":"model 'x' not found"})"},
    Sample{"ollama_model_old", OLLAMA, 404, R"({"error":"model \"x\" not found, try pulling it"})",
           R"({"error":"model \"x\" not found, try pulling it"})"},
    Sample{"ollama_path", OLLAMA, 404, "404 page not found", "404 page not found"},
    Sample{"ollama_runner", OLLAMA, 500, R"({"error":"runner has terminated"})",
           R"({"error":"runner has terminated"})"},
    Sample{"ollama_option", OLLAMA, 500, R"({"error":"option \"temperature\" must be of type float32"})",
           R"({"error":"option \"temperature\" must be of type float32"})"}};

const std::vector<Sample> kGoogleSamples{
    Sample{"google_blocked_prompt", GOOGLE, 200,
           R"({"promptFeedback":{"blockReason":"OTHER"},"usageMetadata":{"promptTokenCount":4},"modelVersion":"m"})",
           "error: Unsupported data format: p/v1beta/models/m:generateContent"},
    Sample{"google_safety_stop", GOOGLE, 200,
           R"({"candidates":[{"finishReason":"SAFETY","index":0,"safetyRatings":[{"blocked":true}]}]})", ""},
    Sample{"google_no_parts", GOOGLE, 200,
           R"({"candidates":[{"content":{"role":"model"},"finishReason":"MAX_TOKENS","index":0}]})", ""},
    Sample{"google_part_without_text", GOOGLE, 200,
           R"({"candidates":[{"content":{"parts":[{"executableCode":{"language":"PYTHON","code":"1"}},)"
           R"({"codeExecutionResult":{"output":"1\n"}},{"text":"One."}],"role":"model"},"finishReason":"STOP"}]})",
           "One."},
    Sample{"google_thoughts_are_texts_too", GOOGLE, 200,
           R"({"candidates":[{"content":{"parts":[{"text":"Hm.\n","thought":true},{"text":"A, ","thoughtSignature":)"
           R"("QQ"},{"text":"B."}],"role":"model"}}]})",
           "Hm.\nA, B."},
    Sample{
        "google_two_candidates", GOOGLE, 200,
        R"({"candidates":[{"content":{"parts":[{"text":"a"}],"role":"model"}},)"
        R"({"content":{"parts":[{"text":"x"}],"role":"user"}},{"content":{"parts":[{"text":"b"}],"role":"model"}}]})",
        "ab"},
    Sample{"google_unknown_name", GOOGLE, 400,
           R"({"error":{"code":400,"message":"Unknown name \"temp\"","status":"INVALID_ARGUMENT","details":[{}]}})",
           "Unknown name \"temp\""},
    Sample{"google_key", GOOGLE, 400,
           R"({"error":{"code":400,"message":"API key not valid.","status":"INVALID_ARGUMENT","details":[{"reason":)"
           R"("API_KEY_INVALID"}]}})",
           "API key not valid."},
    Sample{"google_role", GOOGLE, 400,
           R"({"error":{"code":400,"message":"Please use a valid role","status":"INVALID_ARGUMENT"}})",
           "Please use a valid role"},
    Sample{"google_no_instructions", GOOGLE, 400,
           R"({"error":{"code":400,"message":"Developer instruction is not enabled","status":"INVALID_ARGUMENT"}})",
           "Developer instruction is not enabled"},
    Sample{"google_no_key", GOOGLE, 403,
           R"({"error":{"code":403,"message":"No unregistered callers","status":"PERMISSION_DENIED"}})",
           "No unregistered callers"},
    Sample{"google_model", GOOGLE, 404,
           R"({"error":{"code":404,"message":"models/x is not found","status":"NOT_FOUND"}})", "models/x is not found"},
    Sample{"google_quota", GOOGLE, 429,
           R"({"error":{"code":429,"message":"Quota","status":"RESOURCE_EXHAUSTED","details":[{"retryDelay":"3s"}]}})",
           "Quota"},
    Sample{"google_overloaded", GOOGLE, 503,
           R"({"error":{"code":503,"message":"The model is overloaded.","status":"UNAVAILABLE"}})",
           "The model is overloaded."}};

std::vector<Sample> allSamples() {
  std::vector<Sample> all;
  for (const auto* samples : {&kOpenAISamples, &kDeepSeekSamples, &kOllamaSamples, &kGoogleSamples}) {
    all.insert(all.end(), samples->begin(), samples->end());
  }
  return all;
}

/// Those that can come as a stream: successes in JSON.
std::vector<Sample> streamableSamples() {
  std::vector<Sample> samples = allSamples();
  std::erase_if(samples, [](const Sample& sample) {
    return sample.status != 200 || std::string_view(sample.told).starts_with("error: Invalid response");
  });
  return samples;
}

/// Bodies of chat replies: with 200 the text counts, else the error.
class ChatSample : public testing::TestWithParam<Sample> {
 protected:
  /// What a host is told of `reply` and, when it asked for one, of a stream's pieces.
  static std::string turn(const standin::Script& reply, bool isStreamed) {
    standin::Server server;
    server.script(reply);
    const Owned<IQAIAssistant> assistant(QAICreateAssistant(GetParam().type, nullptr, kKey, server.address()));
    assign(*assistant, {{"model", "m"}});
    const auto session = newSession(*assistant);
    return isStreamed ? askStreaming(*assistant, session.get(), "question").told
                      : ask(*assistant, session.get(), "question");
  }
  static std::string expected() { return (GetParam().status == 200 ? "" : "error: ") + std::string(GetParam().told); }
};

TEST_P(ChatSample, GivesTheHost) {
  EXPECT_EQ(turn({.status = GetParam().status, .body = GetParam().body}, false), expected());
}

TEST_P(ChatSample, GivesTheHostWhoAskedForAStreamTheSame) {
  EXPECT_EQ(turn({.status = GetParam().status, .body = GetParam().body}, true), expected());
}

INSTANTIATE_TEST_SUITE_P(All, ChatSample, testing::ValuesIn(allSamples()), sampleName);

class StreamedSample : public ChatSample {};

TEST_P(StreamedSample, GivesTheSameAsAStream) {
  const BodyForm form = findService(GetParam().type)->form;
  EXPECT_EQ(
      turn({.status = 200, .body = streamOf(form, GetParam().body), .contentType = std::string(streamTypeOf(form))},
           true),
      expected());
}

INSTANTIATE_TEST_SUITE_P(All, StreamedSample, testing::ValuesIn(streamableSamples()), sampleName);

struct ListSample {
  const char* name;
  QAIAssistantType type;
  const char* body;
  std::vector<std::string> models;
};
void PrintTo(const ListSample& sample, std::ostream* out) { *out << sample.name; }

class ModelsSample : public testing::TestWithParam<ListSample> {};

TEST_P(ModelsSample, GivesTheHost) {
  standin::Server server;
  standin::Script reply;
  reply.status = 200;
  reply.body = GetParam().body;
  server.script(reply);
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(GetParam().type, nullptr, kKey, server.address()));
  const auto [models, error] = assistant->obtainAvailableModels();
  EXPECT_EQ(error, "");
  EXPECT_EQ(models, GetParam().models);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, ModelsSample,
    testing::Values(
        ListSample{"openai",
                   OPENAI_v1,
                   R"({"object":"list","data":[{"id":"m0","object":"model","created":1686930000,"owned_by":"o",)"
                   R"("shutdown_date":null},{"id":"m1","object":"model","created":1686930000,"owned_by":"o"}]})",
                   {"m0", "m1"}},
        ListSample{"openai_compatible_server",
                   OPENAI_v1,
                   R"({"models":[{"name":"t","type":"model"}],"object":"list","data":[{"id":"t","aliases":["t"],)"
                   R"("object":"model","created":1795000000,"owned_by":"x","meta":{"n_ctx":1024}}]})",
                   {"t"}},
        ListSample{"deepseek",
                   DEEPSEEK,
                   R"({"object":"list","data":[{"id":"d-flash","object":"model","owned_by":"d","context_window":9,)"
                   R"("effort":{"supported_levels":["low"]}},{"id":"d-pro","object":"model","owned_by":"d"}]})",
                   {"d-flash", "d-pro"}},
        ListSample{"ollama",
                   OLLAMA,
                   R"({"models":[{"name":"t:latest","model":"t:latest","modified_at":"2026-01-01T00:00:00Z","size":5,)"
                   R"("digest":"d","details":{"families":["llama"]}}]})",
                   {"t:latest"}},
        ListSample{
            "google_page",
            GOOGLE,
            R"({"models":[{"name":"models/g-pro","version":"001","supportedGenerationMethods":["generateContent",)"
            R"("countTokens"],"topP":0.95},{"name":"models/g-flash","supportedGenerationMethods":[)"
            R"("batchGenerateContent","generateContent"]},{"name":"models/e","supportedGenerationMethods":[)"
            R"("embedContent","generateContents",1]}],"nextPageToken":"x"})",
            {"g-pro", "g-flash"}}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
