#include "services.h"

#include <algorithm>
#include <iterator>
#include <ostream>

namespace {

constexpr const char* kCompletionsReply =
    R"({"id":"c","object":"chat.completion","choices":[)"
    R"({"index":0,"message":{"role":"assistant","content":"two ","refusal":null}},)"
    R"({"index":1,"message":{"role":"assistant","content":"parts"}}],"usage":{"total_tokens":3}})";
constexpr const char* kCompletionsUser = R"({"role":"user","content":"%"})";
constexpr const char* kCompletionsAssistant = R"({"role":"assistant","content":"%"})";
constexpr const char* kOpenAIModels =
    R"({"object":"list","data":[{"id":"old","object":"model","created":1686935002,"owned_by":"x"},)"
    R"({"id":"new","object":"model","created":1741569952}]})";

const TestedService kOpenAI{
    .name = "openai",
    .type = OPENAI_v1,
    .typeName = "OPENAI_v1",
    .title = "OpenAI",
    .provider = "openai",
    .defaultHost = "https://api.openai.com",
    .model = "standin-small",
    .key = KeyWay::Bearer,
    .keyVariables = {"OPENAI_API_KEY"},
    .usesPool = true,
    .form = BodyForm::Completions,
    .modelsPath = "/v1/models",
    .modelsBody = kOpenAIModels,
    .modelsInIt = {"new", "old"},
    .modelsNoJsonError = "Unsupported data format: g/v1/models",
    .modelsFormatError = "Unsupported data format: g/v1/models",
    .chatPath = "/v1/chat/completions",
    .noModelError = "Model is empty: p/v1/chat/completions",
    .noJsonError = "Invalid response: g/v1/chat/completions",
    .formatError = "Unsupported data format: p/v1/chat/completions",
    .emptyReplyBody = R"({"choices":[]})",
    .replyBody = kCompletionsReply,
    .wrongFormatBody = R"({"choices":{}})",
    .instructionsPart = R"("messages":[{"role":"developer","content":"I\n\n"},)",
    .temperaturePart = R"(","temperature":0.7,"messages":)",
    .userEntry = kCompletionsUser,
    .assistantEntry = kCompletionsAssistant,
};

const TestedService kDeepSeek{
    .name = "deepseek",
    .type = DEEPSEEK,
    .typeName = "DEEPSEEK",
    .title = "DeepSeek",
    .provider = "deepseek",
    .defaultHost = "https://api.deepseek.com",
    .model = "deepseek-chat",
    .key = KeyWay::Bearer,
    .keyVariables = {"DEEPSEEK_API_KEY"},
    .usesPool = true,
    .form = BodyForm::Completions,
    .modelsPath = "/models",
    .modelsBody = R"({"object":"list","data":[{"id":"b","object":"model","created":1},)"
                  R"({"id":"a","object":"model","owned_by":"deepseek"},{"id":"c","object":"model","created":2}]})",
    .modelsInIt = {"b", "a", "c"},
    .modelsNoJsonError = "Invalid response: g/models",
    .modelsFormatError = "Unsupported data format: g/models",
    .chatPath = "/chat/completions",
    .noModelError = "Model is empty: p/chat/completions",
    .noJsonError = "Invalid response: p/chat/completions",
    .formatError = "Unsupported data format: p/chat/completions",
    .emptyReplyBody = R"({"choices":[]})",
    .replyBody = kCompletionsReply,
    .wrongFormatBody = R"({"choices":"x"})",
    .instructionsPart = R"("messages":[{"role":"system","content":"I\n\n"},)",
    .temperaturePart = R"(","temperature":0.7,"messages":)",
    .userEntry = kCompletionsUser,
    .assistantEntry = kCompletionsAssistant,
};

const TestedService kOllama{
    .name = "ollama",
    .type = OLLAMA,
    .typeName = "OLLAMA",
    .title = "Ollama",
    .provider = "ollama",
    .defaultHost = "https://localhost:11434",
    .model = "standin:latest",
    .key = KeyWay::None,
    .keyVariables = {},
    .usesPool = false,
    .form = BodyForm::Ollama,
    .modelsPath = "/api/tags",
    .modelsBody = R"({"models":[{"name":"b:latest","model":"b"},{"model":"no name"},{"name":"a:7b"},{"name":1},"x"]})",
    .modelsInIt = {"b:latest", "a:7b"},
    .modelsNoJsonError = "Invalid response: g/api/tags",
    .modelsFormatError = "Unsupported data format: g/api/tags",
    .chatPath = "/api/chat",
    .noModelError = "Model is empty: p/api/chat",
    .noJsonError = "Invalid response: g/api/chat",
    .formatError = "Unsupported data format: p/api/chat",
    .emptyReplyBody = R"({"message":{"role":"assistant","content":""},"done":true})",
    .replyBody = R"({"model":"m","message":{"role":"assistant","content":"two parts"},"done":true})",
    .wrongFormatBody = R"({"message":{"role":"assistant","content":null}})",
    .instructionsPart = R"("messages":[{"role":"system","content":"I\n\n"},)",
    .temperaturePart = R"(","stream":false,"options":{"temperature":0.7},"messages":)",
    .userEntry = kCompletionsUser,
    .assistantEntry = kCompletionsAssistant,
};

const TestedService kGoogle{
    .name = "google",
    .type = GOOGLE,
    .typeName = "GOOGLE",
    .title = "Gemini",
    .provider = "gemini",
    .defaultHost = "https://generativelanguage.googleapis.com",
    .model = "gemini-standin",
    .key = KeyWay::Query,
    .keyVariables = {"GEMINI_API_KEY", "GOOGLE_API_KEY"},
    .usesPool = true,
    .form = BodyForm::Gemini,
    .modelsPath = "/v1beta/models",
    .modelsBody = R"({"models":[{"name":"models/b","supportedGenerationMethods":["countTokens","generateContent"]},)"
                  R"({"name":"models/embed","supportedGenerationMethods":["embedContent"]},{"name":"models/none"},)"
                  R"({"name":"tuned/a","supportedGenerationMethods":["generateContent"]}],"nextPageToken":"x"})",
    .modelsInIt = {"b", "tuned/a"},
    .modelsNoJsonError = "Invalid response: g/v1beta/models",
    .modelsFormatError = "Unsupported data format: g/v1beta/models",
    .chatPath = "/v1beta/models/gemini-standin:generateContent",
    .noModelError = "Model is empty: p/v1beta/models/generateContent",
    .noJsonError = "Invalid response: p/v1beta/models/gemini-standin:generateContent",
    .formatError = "Unsupported data format: p/v1beta/models/gemini-standin:generateContent",
    .emptyReplyBody = R"({"candidates":[]})",
    .replyBody = R"({"candidates":[{"content":{"role":"model","parts":[{"text":"two "},{"text":"parts"}]}}]})",
    .wrongFormatBody = R"({"candidates":{}})",
    .instructionsPart = R"("system_instruction":{"parts":[{"text":"I\n\n"}]},"contents":)",
    .temperaturePart = R"({"generationConfig":{"temperature":0.7},"contents":)",
    .userEntry = R"({"role":"user","parts":[{"text":"%"}]})",
    .assistantEntry = R"({"role":"model","parts":[{"text":"%"}]})",
};

// The Assistants service shares with the others how an assistant is created; what it does has tests of its own.
const TestedService kAssistants{
    .name = "assistants",
    .type = OPENAI,
    .typeName = "OPENAI",
    .title = "OpenAI Assistants",
    .provider = "openai-assistants",
    .defaultHost = "https://api.openai.com",
    .model = "standin-small",
    .key = KeyWay::Bearer,
    .keyVariables = {"OPENAI_API_KEY"},
    .usesPool = true,
    .form = BodyForm::Assistants,
    .keepsConversations = true,
    .modelsPath = "/v1/models",
    .modelsBody = kOpenAIModels,
    .modelsInIt = {"new", "old"},
    .modelsNoJsonError = "Unsupported data format: g/v1/models",
    .modelsFormatError = "Unsupported data format: g/v1/models",
};

template <class Quirk>
std::vector<TestedService> servicesWith(Quirk quirk) {
  std::vector<TestedService> services;
  std::copy_if(chatServices().begin(), chatServices().end(), std::back_inserter(services), quirk);
  return services;
}

void replace(std::string& text, std::string_view what, std::string_view by) {
  if (const auto at = text.find(what); at != std::string::npos) text.replace(at, what.size(), by);
}

}  // namespace

void PrintTo(const TestedService& service, std::ostream* out) { *out << service.name; }

const std::vector<TestedService>& allServices() {
  static const std::vector<TestedService> kServices{kOpenAI, kAssistants, kDeepSeek, kGoogle, kOllama};
  return kServices;
}

const std::vector<TestedService>& chatServices() {
  static const std::vector<TestedService> kServices = [] {
    std::vector<TestedService> services = allServices();
    std::erase_if(services, [](const TestedService& service) { return service.keepsConversations; });
    return services;
  }();
  return kServices;
}

const TestedService& assistantsService() { return kAssistants; }

std::vector<TestedService> pooledServices() {
  return servicesWith([](const TestedService& service) { return service.usesPool; });
}

std::vector<TestedService> poollessServices() {
  return servicesWith([](const TestedService& service) { return !service.usesPool; });
}

std::vector<TestedService> cancellableServices() {
  std::vector<TestedService> services = pooledServices();
  services.push_back(assistantsService());
  return services;
}

std::vector<TestedService> servicesWithKey(KeyWay way) {
  return servicesWith([way](const TestedService& service) { return service.key == way; });
}

std::vector<TestedService> keyedServices() {
  return servicesWith([](const TestedService& service) { return service.usesKey(); });
}

const TestedService* findService(QAIAssistantType type) {
  const auto found = std::find_if(allServices().begin(), allServices().end(),
                                  [type](const TestedService& service) { return service.type == type; });
  return found == allServices().end() ? nullptr : &*found;
}

std::string withModel(const TestedService& service, std::string text, std::string_view model) {
  replace(text, service.model, model);
  return text;
}

std::string historyPart(const TestedService& service, const std::vector<std::string>& texts) {
  std::string part;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::string entry = i % 2 == 0 ? service.userEntry : service.assistantEntry;
    replace(entry, "%", texts[i]);
    part.append(part.empty() ? "" : ",").append(entry);
  }
  return part;
}

std::string listProviderNames() {
  std::string names;
  for (const TestedService& service : allServices()) names.append(names.empty() ? "" : ", ").append(service.provider);
  return names;
}
