#include "operations.h"

#include <ostream>

namespace {

struct HealthyReply {
  const char* request;
  const char* body;
};

constexpr const char* kModels = "GET /v1/models ";
constexpr const char* kTurn = "POST /v1/chat/completions ";
constexpr const char* kDeepSeekModels = "GET /models ";
constexpr const char* kDeepSeekTurn = "POST /chat/completions ";
constexpr const char* kOllamaModels = "GET /api/tags ";
constexpr const char* kOllamaTurn = "POST /api/chat ";
constexpr const char* kGoogleModels = "GET /v1beta/models?key=";
constexpr const char* kGoogleTurn = "POST /v1beta/models/m1:generateContent?key=";
constexpr const char* kCreate = "POST /v1/assistants ";
constexpr const char* kDescribe = "POST /v1/assistants/asst_1 ";
constexpr const char* kThread = "POST /v1/threads ";
constexpr const char* kMessage = "POST /v1/threads/thread_1/messages ";
constexpr const char* kRun = "POST /v1/threads/thread_1/runs ";
constexpr const char* kPoll = "GET /v1/threads/thread_1/runs/run_1 ";
constexpr const char* kMessages = "GET /v1/threads/thread_1/messages?run_id=run_1 ";
constexpr const char* kDeleteThread = "DELETE /v1/threads/thread_1 ";
constexpr const char* kDeleteAssistant = "DELETE /v1/assistants/asst_1 ";

constexpr const char* kModelList = R"({"object":"list","data":[{"id":"m1","object":"model","created":1741569952}]})";
constexpr const char* kCompletion = R"({"choices":[{"message":{"role":"assistant","content":"two parts"}}]})";

constexpr HealthyReply kHealthyReplies[] = {
    {kModels, kModelList},
    {kTurn, kCompletion},
    {kDeepSeekModels, kModelList},
    {kDeepSeekTurn, kCompletion},
    {kOllamaModels, R"({"models":[{"name":"m1","model":"m1"}]})"},
    {kOllamaTurn, R"({"model":"m1","message":{"role":"assistant","content":"two parts"},"done":true})"},
    {kGoogleModels, R"({"models":[{"name":"models/m1","supportedGenerationMethods":["generateContent"]}]})"},
    {kGoogleTurn, R"({"candidates":[{"content":{"role":"model","parts":[{"text":"two parts"}]}}]})"},
    {kCreate, R"({"id":"asst_1","object":"assistant"})"},
    {kDescribe, R"({"id":"asst_1","object":"assistant"})"},
    {kThread, R"({"id":"thread_1","object":"thread"})"},
    {kMessage, R"({"id":"msg_1","object":"thread.message"})"},
    {kRun, R"({"id":"run_1","object":"thread.run","status":"queued"})"},
    {kPoll, R"({"id":"run_1","object":"thread.run","status":"completed"})"},
    {kMessages, R"({"data":[{"created_at":1741569952,"content":[{"type":"text","text":{"value":"two parts"}}]}]})"},
    {kDeleteThread, R"({"id":"thread_1","deleted":true})"},
    {kDeleteAssistant, R"({"id":"asst_1","deleted":true})"},
};

std::string configure(Host& host) {
  return assign(*host.assistant, {{"model", kModel}, {"user_instructions", "Answer in SQL."}});
}

Told runConfigure(Host& host) {
  const std::string error = configure(host);
  return {.gave = error.empty(), .error = error, .text = ""};
}

Told runCreateSession(Host& host) {
  const auto [session, error] = host.assistant->createSession();
  const Owned<IQAISession> owner(session);
  return {.gave = session != nullptr, .error = error, .text = ""};
}

Told runDestroySession(Host& host) {
  const std::string error = host.assistant->destroySession(host.session.get());
  return {.gave = error.empty(), .error = error, .text = ""};
}

Operation listing(const char* request, Reading reading, const char* noJsonError, const char* formatError) {
  return {.name = "models",
          .run = runModels,
          .before = request,
          .request = request,
          .reading = reading,
          .noJsonError = noJsonError,
          .formatError = formatError,
          .healthyText = kModel};
}

Operation turn(const char* before, const char* request, Reading reading, const char* noJsonError,
               const char* formatError) {
  return {.name = "turn",
          .run = runTurn,
          .before = before,
          .request = request,
          .reading = reading,
          .noJsonError = noJsonError,
          .formatError = formatError,
          .healthyText = kReply};
}

// The requests of one turn come in the order message, run, poll, messages; those of an end in the order thread,
// assistant.
std::vector<Operation> assistantsOperations() {
  return {listing(kModels, Reading::AssistantModels, "Unsupported data format: g/v1/models",
                  "Unsupported data format: g/v1/models"),
          {.name = "create",
           .run = runConfigure,
           .before = kModels,
           .request = kCreate,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/assistants",
           .formatError = "Unsupported data format: p/v1/assistants",
           .startsBare = true},
          {.name = "describe",
           .run = runConfigure,
           .before = kModels,
           .request = kDescribe,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/assistants/id",
           .formatError = "Unsupported data format: p/v1/assistants/id"},
          {.name = "create_session",
           .run = runCreateSession,
           .before = kModels,
           .request = kThread,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/threads",
           .formatError = "Unsupported data format: p/v1/threads"},
          {.name = "turn_message",
           .run = runTurn,
           .before = kModels,
           .request = kMessage,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/threads/id/messages",
           .formatError = "Unsupported data format: p/v1/threads/id/messages",
           .healthyText = kReply},
          {.name = "turn_run",
           .run = runTurn,
           .before = kMessage,
           .request = kRun,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/threads/id/runs",
           .formatError = "Unsupported data format: p/v1/threads/id/runs",
           .healthyText = kReply,
           .isWithin = true},
          {.name = "turn_poll",
           .run = runTurn,
           .before = kRun,
           .request = kPoll,
           .reading = Reading::RunState,
           .noJsonError = "Invalid response: p/v1/threads/id/runs/id",
           .formatError = "Unsupported data format: p/v1/threads/id/runs/id",
           .healthyText = kReply,
           .isWithin = true},
          {.name = "turn_messages",
           .run = runTurn,
           .before = kPoll,
           .request = kMessages,
           .reading = Reading::Messages,
           .noJsonError = "Invalid response: g/v1/threads/id/messages",
           .formatError = "Unsupported data format: g/v1/threads/id/messages",
           .healthyText = kReply,
           .isWithin = true},
          {.name = "delete_thread",
           .run = runDestroySession,
           .before = kModels,
           .request = kDeleteThread,
           .reading = Reading::Nothing,
           .noJsonError = "",
           .formatError = "",
           .endsSession = true},
          {.name = "delete_assistant",
           .run = runDestroySession,
           .before = kDeleteThread,
           .request = kDeleteAssistant,
           .reading = Reading::Nothing,
           .noJsonError = "",
           .formatError = "",
           .endsSession = true,
           .ignoresFailure = true,
           .isWithin = true}};
}

std::vector<FaultedService> makeServices() {
  return {{.name = "openai",
           .type = OPENAI_v1,
           .usesPool = true,
           .operations = {listing(kModels, Reading::CompletionModels, "Unsupported data format: g/v1/models",
                                  "Unsupported data format: g/v1/models"),
                          turn(kModels, kTurn, Reading::CompletionTurn, "Invalid response: g/v1/chat/completions",
                               "Unsupported data format: p/v1/chat/completions")}},
          {.name = "assistants", .type = OPENAI, .usesPool = true, .operations = assistantsOperations()},
          {.name = "google",
           .type = GOOGLE,
           .usesPool = true,
           .operations = {listing(kGoogleModels, Reading::GoogleModels, "Invalid response: g/v1beta/models",
                                  "Unsupported data format: g/v1beta/models"),
                          turn(kGoogleModels, kGoogleTurn, Reading::GoogleTurn,
                               "Invalid response: p/v1beta/models/m1:generateContent",
                               "Unsupported data format: p/v1beta/models/m1:generateContent")}},
          {.name = "deepseek",
           .type = DEEPSEEK,
           .usesPool = true,
           .operations = {listing(kDeepSeekModels, Reading::CompletionModels, "Invalid response: g/models",
                                  "Unsupported data format: g/models"),
                          turn(kDeepSeekModels, kDeepSeekTurn, Reading::CompletionTurn,
                               "Invalid response: p/chat/completions", "Unsupported data format: p/chat/completions")}},
          {.name = "ollama",
           .type = OLLAMA,
           .usesPool = false,
           .operations = {listing(kOllamaModels, Reading::OllamaModels, "Invalid response: g/api/tags",
                                  "Unsupported data format: g/api/tags"),
                          turn(kOllamaModels, kOllamaTurn, Reading::OllamaTurn, "Invalid response: g/api/chat",
                               "Unsupported data format: p/api/chat")}}};
}

}  // namespace

void PrintTo(const FaultedService& service, std::ostream* out) { *out << service.name; }

const std::vector<FaultedService>& faultedServices() {
  static const std::vector<FaultedService> kServices = makeServices();
  return kServices;
}

const char* findHealthyBody(std::string_view request) {
  for (const HealthyReply& reply : kHealthyReplies) {
    if (request.starts_with(reply.request)) return reply.body;
  }
  return nullptr;
}

std::string prepareTurn(Host& host) {
  if (host.session != nullptr) return "";
  if (std::string error = configure(host); !error.empty()) return error;
  auto [session, error] = host.assistant->createSession();
  host.session.reset(session);
  return error;
}

Told runTurn(Host& host) {
  const auto [message, error] = host.assistant->addMessage(host.session.get(), "question");
  const Owned<IQAIMessage> reply(message);
  Told told{.gave = reply != nullptr, .error = error, .text = ""};
  if (reply == nullptr) return told;
  for (const IQAIMessageSection* section : reply->obtainSections()) told.text += section->obtainText();
  return told;
}

Told runModels(Host& host) {
  const auto [models, error] = host.assistant->obtainAvailableModels();
  Told told{.gave = error.empty(), .error = error, .text = ""};
  for (const std::string& model : models) told.text += model;
  return told;
}
