#include "service.h"

#include <algorithm>
#include <iterator>
#include <ostream>

namespace {

constexpr const char* kCompletionsReply =
    R"({"id":"c","object":"chat.completion","choices":[)"
    R"({"index":0,"message":{"role":"assistant","content":"two ","refusal":null}},)"
    R"({"index":1,"message":{"role":"assistant","content":"parts"}}],"usage":{"total_tokens":3}})";
constexpr const char* kCompletionsHistory =
    R"([{"role":"user","content":"first"},{"role":"assistant","content":"two parts"},{"role":"user","content":"second"}])";

const Service kOpenAI{
    .name = "openai",
    .type = OPENAI_v1,
    .defaultHost = "https://api.openai.com",
    .model = "standin-small",
    .usesKey = true,
    .usesPool = true,
    .modelsPath = "/v1/models",
    .chatPath = "/v1/chat/completions",
    .modelsBody = R"({"object":"list","data":[{"id":"old","object":"model","created":1686935002,"owned_by":"x"},)"
                  R"({"id":"new","object":"model","created":1741569952}]})",
    .modelsInIt = {"new", "old"},
    .noModelError = "Model is empty: p/v1/chat/completions",
    .noJsonError = "Invalid response: g/v1/chat/completions",
    .formatError = "Unsupported data format: p/v1/chat/completions",
    .modelsNoJsonError = "Unsupported data format: g/v1/models",
    .modelsFormatError = "Unsupported data format: g/v1/models",
    .emptyReplyBody = R"({"choices":[]})",
    .replyBody = kCompletionsReply,
    .wrongFormatBody = R"({"choices":{}})",
    .instructionsPart = R"("messages":[{"role":"developer","content":"I\n\n"},)",
    .historyPart = kCompletionsHistory,
    .temperaturePart = R"(","temperature":0.7,"messages":)",
};

const Service kDeepSeek{
    .name = "deepseek",
    .type = DEEPSEEK,
    .defaultHost = "https://api.deepseek.com",
    .model = "deepseek-chat",
    .usesKey = true,
    .usesPool = true,
    .modelsPath = "/models",
    .chatPath = "/chat/completions",
    .modelsBody = R"({"object":"list","data":[{"id":"b","object":"model","created":1},)"
                  R"({"id":"a","object":"model","owned_by":"deepseek"},{"id":"c","object":"model","created":2}]})",
    .modelsInIt = {"b", "a", "c"},
    .noModelError = "Model is empty: p/chat/completions",
    .noJsonError = "Invalid response: p/chat/completions",
    .formatError = "Unsupported data format: p/chat/completions",
    .modelsNoJsonError = "Invalid response: g/models",
    .modelsFormatError = "Unsupported data format: g/models",
    .emptyReplyBody = R"({"choices":[]})",
    .replyBody = kCompletionsReply,
    .wrongFormatBody = R"({"choices":"x"})",
    .instructionsPart = R"("messages":[{"role":"system","content":"I\n\n"},)",
    .historyPart = kCompletionsHistory,
    .temperaturePart = R"(","temperature":0.7,"messages":)",
};

const Service kOllama{
    .name = "ollama",
    .type = OLLAMA,
    .defaultHost = "https://localhost:11434",
    .model = "standin:latest",
    .usesKey = false,
    .usesPool = false,
    .modelsPath = "/api/tags",
    .chatPath = "/api/chat",
    .modelsBody = R"({"models":[{"name":"b:latest","model":"b"},{"model":"no name"},{"name":"a:7b"},{"name":1},"x"]})",
    .modelsInIt = {"b:latest", "a:7b"},
    .noModelError = "Model is empty: p/api/chat",
    .noJsonError = "Invalid response: g/api/chat",
    .formatError = "Unsupported data format: p/api/chat",
    .modelsNoJsonError = "Invalid response: g/api/tags",
    .modelsFormatError = "Unsupported data format: g/api/tags",
    .emptyReplyBody = R"({"message":{"role":"assistant","content":""},"done":true})",
    .replyBody = R"({"model":"m","message":{"role":"assistant","content":"two parts"},"done":true})",
    .wrongFormatBody = R"({"message":{"role":"assistant","content":null}})",
    .instructionsPart = R"("messages":[{"role":"system","content":"I\n\n"},)",
    .historyPart = kCompletionsHistory,
    .temperaturePart = R"(","stream":false,"options":{"temperature":0.7},"messages":)",
};

const Service kGoogle{
    .name = "google",
    .type = GOOGLE,
    .defaultHost = "https://generativelanguage.googleapis.com",
    .model = "gemini-standin",
    .usesKey = true,
    .usesPool = true,
    .modelsPath = "/v1beta/models",
    .chatPath = "/v1beta/models/gemini-standin:generateContent",
    .modelsBody = R"({"models":[{"name":"models/b","supportedGenerationMethods":["countTokens","generateContent"]},)"
                  R"({"name":"models/embed","supportedGenerationMethods":["embedContent"]},{"name":"models/none"},)"
                  R"({"name":"tuned/a","supportedGenerationMethods":["generateContent"]}],"nextPageToken":"x"})",
    .modelsInIt = {"b", "tuned/a"},
    .noModelError = "Model is empty: p/v1beta/models/generateContent",
    .noJsonError = "Invalid response: p/v1beta/models/gemini-standin:generateContent",
    .formatError = "Unsupported data format: p/v1beta/models/gemini-standin:generateContent",
    .modelsNoJsonError = "Invalid response: g/v1beta/models",
    .modelsFormatError = "Unsupported data format: g/v1beta/models",
    .emptyReplyBody = R"({"candidates":[]})",
    .replyBody = R"({"candidates":[{"content":{"role":"model","parts":[{"text":"two "},{"text":"parts"}]}}]})",
    .wrongFormatBody = R"({"candidates":{}})",
    .instructionsPart = R"("system_instruction":{"parts":[{"text":"I\n\n"}]},"contents":)",
    .historyPart = R"([{"role":"user","parts":[{"text":"first"}]},{"role":"model","parts":[{"text":"two parts"}]},)"
                   R"({"role":"user","parts":[{"text":"second"}]}])",
    .temperaturePart = R"({"generationConfig":{"temperature":0.7},"contents":)",
};

// The Assistants service shares with the others how an assistant is created; what it does has tests of its own.
const Service kAssistants{
    .name = "assistants",
    .type = OPENAI,
    .defaultHost = "https://api.openai.com",
    .model = "standin-small",
    .usesKey = true,
    .usesPool = true,
};

std::vector<Service> servicesWith(bool Service::*quirk) {
  std::vector<Service> services;
  std::copy_if(chatServices().begin(), chatServices().end(), std::back_inserter(services),
               [quirk](const Service& service) { return service.*quirk; });
  return services;
}

}  // namespace

void PrintTo(const Service& service, std::ostream* out) { *out << service.name; }

const std::vector<Service>& chatServices() {
  static const std::vector<Service> kServices{kOpenAI, kDeepSeek, kOllama, kGoogle};
  return kServices;
}

std::vector<Service> allServices() {
  std::vector<Service> services = chatServices();
  services.push_back(kAssistants);
  return services;
}

const Service& assistantsService() { return kAssistants; }

std::vector<Service> pooledServices() { return servicesWith(&Service::usesPool); }

std::vector<Service> cancellableServices() {
  std::vector<Service> services = pooledServices();
  services.push_back(assistantsService());
  return services;
}

std::vector<Service> keyedServices() { return servicesWith(&Service::usesKey); }
