#include "operations.h"

#include "support/streams.h"

#include <utility>

namespace {

struct HealthyReply {
  const char* request;
  const char* body;
};

constexpr const char* kCreate = "POST /v1/assistants ";
constexpr const char* kDescribe = "POST /v1/assistants/asst_1 ";
constexpr const char* kThread = "POST /v1/threads ";
constexpr const char* kMessage = "POST /v1/threads/thread_1/messages ";
constexpr const char* kRun = "POST /v1/threads/thread_1/runs ";
constexpr const char* kPoll = "GET /v1/threads/thread_1/runs/run_1 ";
constexpr const char* kMessages = "GET /v1/threads/thread_1/messages?run_id=run_1 ";
constexpr const char* kCancel = "POST /v1/threads/thread_1/runs/run_1/cancel ";
constexpr const char* kDeleteThread = "DELETE /v1/threads/thread_1 ";
constexpr const char* kDeleteAssistant = "DELETE /v1/assistants/asst_1 ";

constexpr const char* kMessageList =
    R"({"data":[{"created_at":1741569952,"content":[{"type":"text","text":{"value":"two parts"}}]}]})";

// Of the Assistants service; a list of models and a turn are in the table.
constexpr HealthyReply kHealthyReplies[] = {
    {kCreate, R"({"id":"asst_1","object":"assistant"})"},
    {kDescribe, R"({"id":"asst_1","object":"assistant"})"},
    {kThread, R"({"id":"thread_1","object":"thread"})"},
    {kMessage, R"({"id":"msg_1","object":"thread.message"})"},
    {kRun, R"({"id":"run_1","object":"thread.run","status":"queued"})"},
    {kPoll, R"({"id":"run_1","object":"thread.run","status":"completed"})"},
    {kMessages, kMessageList},
    {kCancel, R"({"id":"run_1","object":"thread.run","status":"cancelled"})"},
    {kDeleteThread, R"({"id":"thread_1","deleted":true})"},
    {kDeleteAssistant, R"({"id":"asst_1","deleted":true})"},
};

Told toldOf(const std::pair<IQAIMessage*, std::string>& turn) {
  const Owned<IQAIMessage> reply(turn.first);
  Told told{.gave = reply != nullptr, .error = turn.second, .text = ""};
  if (reply == nullptr) return told;
  for (const IQAIMessageSection* section : reply->obtainSections()) told.text += section->obtainText();
  return told;
}

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

/// How the request at `path` begins, with the model of the tests in it.
std::string requestLine(const TestedService& service, const char* method, const char* path) {
  return std::string(method) + " " + withModel(service, path, kModel) + (service.key == KeyWay::Query ? "?key=" : " ");
}

Reading listReading(BodyForm form) {
  switch (form) {
    case BodyForm::Completions:
      return Reading::CompletionModels;
    case BodyForm::Ollama:
      return Reading::OllamaModels;
    case BodyForm::Gemini:
      return Reading::GoogleModels;
    case BodyForm::Assistants:
      return Reading::AssistantModels;
  }
  return Reading::Nothing;
}

Reading turnReading(BodyForm form) {
  switch (form) {
    case BodyForm::Completions:
      return Reading::CompletionTurn;
    case BodyForm::Ollama:
      return Reading::OllamaTurn;
    case BodyForm::Gemini:
      return Reading::GoogleTurn;
    case BodyForm::Assistants:
      break;  // its turns are several requests
  }
  return Reading::Nothing;
}

Operation listing(const TestedService& service) {
  const std::string request = requestLine(service, "GET", service.modelsPath);
  std::string models;
  for (const std::string& model : service.modelsInIt) models += model;
  return {.name = "models",
          .run = runModels,
          .before = request,
          .request = request,
          .reading = listReading(service.form),
          .noJsonError = service.modelsNoJsonError,
          .formatError = service.modelsFormatError,
          .healthyText = models};
}

Operation turn(const TestedService& service) {
  return {.name = "turn",
          .run = runTurn,
          .before = requestLine(service, "GET", service.modelsPath),
          .request = requestLine(service, "POST", service.chatPath),
          .reading = turnReading(service.form),
          .noJsonError = withModel(service, service.noJsonError, kModel),
          .formatError = withModel(service, service.formatError, kModel),
          .healthyText = kReply};
}

std::string streamPath(const TestedService& service) {
  std::string path = service.chatPath;
  const std::string whole = ":generateContent";
  if (path.ends_with(whole)) path.replace(path.size() - whole.size(), whole.size(), ":streamGenerateContent");
  return path;
}

/// What is told of a stream that ends early, behind the same label.
std::string incomplete(const std::string& formatError) {
  return "The reply ended before it was complete" + formatError.substr(formatError.find(": "));
}

Operation streamedTurn(const TestedService& service) {
  Operation operation = turn(service);
  operation.name = "streamed_turn";
  operation.run = runStreamedTurn;
  operation.request = requestLine(service, "POST", streamPath(service).c_str());
  operation.reading = Reading::Stream;
  operation.incompleteError = incomplete(operation.formatError);
  return operation;
}

// The requests of one turn come in the order message, run, poll, messages; those of an end in the order thread,
// assistant.
std::vector<Operation> assistantsOperations() {
  const Operation list = listing(assistantsService());
  return {list,
          {.name = "create",
           .run = runConfigure,
           .before = list.request,
           .request = kCreate,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/assistants",
           .formatError = "Unsupported data format: p/v1/assistants",
           .startsBare = true},
          {.name = "describe",
           .run = runConfigure,
           .before = list.request,
           .request = kDescribe,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/assistants/id",
           .formatError = "Unsupported data format: p/v1/assistants/id"},
          {.name = "create_session",
           .run = runCreateSession,
           .before = list.request,
           .request = kThread,
           .reading = Reading::Identifier,
           .noJsonError = "Invalid response: p/v1/threads",
           .formatError = "Unsupported data format: p/v1/threads"},
          {.name = "turn_message",
           .run = runTurn,
           .before = list.request,
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
          {.name = "streamed_turn_run",
           .run = runStreamedTurn,
           .before = kMessage,
           .request = kRun,
           .reading = Reading::Stream,
           .noJsonError = "Invalid response: p/v1/threads/id/runs",
           .formatError = "Unsupported data format: p/v1/threads/id/runs/id",
           .healthyText = kReply,
           .incompleteError = "The reply ended before it was complete: p/v1/threads/id/runs/id",
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
           .before = list.request,
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

FaultedService makeService(const TestedService& service) {
  if (service.keepsConversations) {
    const std::string run = R"({"id":"run_1","object":"thread.run","status":"completed"})";
    return {service, assistantsOperations(), "", streamOfRun(run, kMessageList)};
  }
  return {service,
          {listing(service), turn(service), streamedTurn(service)},
          streamPath(service),
          streamOf(service.form, service.replyBody)};
}

std::vector<FaultedService> makeServices() {
  std::vector<FaultedService> services;
  for (const TestedService& service : allServices()) services.push_back(makeService(service));
  return services;
}

bool asksForStream(std::string_view request) { return request.find(R"("stream":true)") != std::string_view::npos; }

/// Where the path is the same as of other turns, the body says so.
bool isStreamedTurn(const FaultedService& service, std::string_view request) {
  if (!request.starts_with(requestLine(service, "POST", service.streamPath.c_str()))) return false;
  return service.streamPath != service.chatPath || asksForStream(request);
}

}  // namespace

const std::vector<FaultedService>& faultedServices() {
  static const std::vector<FaultedService> kServices = makeServices();
  return kServices;
}

const char* findHealthyBody(std::string_view request) {
  for (const FaultedService& service : faultedServices()) {
    const bool isRun = service.keepsConversations && request.starts_with(kRun) && asksForStream(request);
    const bool isTurn = !service.keepsConversations && isStreamedTurn(service, request);
    if (isRun || isTurn) return service.streamBody.c_str();
  }
  for (const HealthyReply& reply : kHealthyReplies) {
    if (request.starts_with(reply.request)) return reply.body;
  }
  for (const FaultedService& service : faultedServices()) {
    if (request.starts_with(requestLine(service, "GET", service.modelsPath))) return service.modelsBody;
    if (service.keepsConversations) continue;
    if (request.starts_with(requestLine(service, "POST", service.chatPath))) return service.replyBody;
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

Told runTurn(Host& host) { return toldOf(host.assistant->addMessage(host.session.get(), "question")); }

Told runStreamedTurn(Host& host) {
  std::string pieces;
  const auto sink = [&pieces](std::string_view piece) {
    pieces += piece;
    return true;
  };
  auto* streaming = qaiExtension<IQAIStreaming>(host.assistant.get());
  Told told = toldOf(streaming->addMessageStreaming(host.session.get(), "question", {}, sink));
  if (told.gave && pieces != told.text) told.text = "other pieces: " + pieces;
  return told;
}

Told runModels(Host& host) {
  const auto [models, error] = host.assistant->obtainAvailableModels();
  Told told{.gave = error.empty(), .error = error, .text = ""};
  for (const std::string& model : models) told.text += model;
  return told;
}
