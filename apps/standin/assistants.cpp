#include "assistants_checks.h"
#include "assistants_store.h"
#include "assistants_stream.h"
#include "openai.h"
#include "request.h"
#include "services.h"

#include <array>

namespace standin {
namespace {

Reply refuse(const Flaw& flaw) { return openaiDialect().refuse(wordFlaw(flaw, assistantsWordings())); }

Reply send(const ObjectOrFlaw& result) {
  if (const Flaw* flaw = std::get_if<Flaw>(&result)) return refuse(*flaw);
  return {.body = std::get<std::string>(result)};
}

std::optional<Reply> admit(const Call& call) {
  if (auto refusal = openaiService().admit(call)) return refusal;
  if (call.request.header("OpenAI-Beta") == "assistants=v2") return std::nullopt;
  return refuse({&Wordings::noBeta});
}

/// A message as it was sent, but for the content: that is told in another form.
Members readMessage(const COJsonValue& message) {
  Members members = readMembers(message, kMessageRules);
  const COJsonValue& content = *message.obtainJsonValue("content");
  std::vector<std::string> texts;
  if (content.obtainType() == JsonType::String) texts.emplace_back(content.obtainString());
  for (std::size_t i = 0; i < content.obtainArraySize(); ++i) {
    texts.emplace_back(textOf(*content.obtainArrayItem(i), "text"));
  }
  setMember(members, "content", writeContent(texts));
  return members;
}

Reply createAssistant(const Call& call) {
  const COJson body(call.request.body);
  if (const auto flaw = checkNewAssistant(body)) return refuse(*flaw);
  return send(call.assistants.createAssistant(readMembers(body, kAssistantRules)));
}

Reply tellAssistant(const Call& call) { return send(call.assistants.tellAssistant(call.captured.front())); }

Reply modifyAssistant(const Call& call) {
  const COJson body(call.request.body);
  if (const auto flaw = checkChangedAssistant(body)) return refuse(*flaw);
  return send(call.assistants.modifyAssistant(call.captured.front(), readMembers(body, kAssistantRules)));
}

Reply deleteAssistant(const Call& call) { return send(call.assistants.deleteAssistant(call.captured.front())); }

Reply createThread(const Call& call) {
  if (call.request.body.empty()) return send(call.assistants.createThread({}, {}));
  const COJson body(call.request.body);
  if (const auto flaw = checkThread(body)) return refuse(*flaw);
  std::vector<Members> messages;
  if (const COJsonValue* sent = body.obtainJsonValue("messages")) {
    for (std::size_t i = 0; i < sent->obtainArraySize(); ++i) {
      messages.push_back(readMessage(*sent->obtainArrayItem(i)));
    }
  }
  return send(call.assistants.createThread(readMembers(body, kThreadRules), messages));
}

Reply tellThread(const Call& call) { return send(call.assistants.tellThread(call.captured.front())); }

Reply deleteThread(const Call& call) { return send(call.assistants.deleteThread(call.captured.front())); }

Reply addMessage(const Call& call) {
  const COJson body(call.request.body);
  if (const auto flaw = checkMessage(body)) return refuse(*flaw);
  return send(call.assistants.addMessage(call.captured.front(), readMessage(body)));
}

Reply listMessages(const Call& call) {
  constexpr std::size_t kUsual = 20;
  constexpr std::size_t kMost = 100;
  const auto limit = queryNumber(call.request, "limit", kUsual);
  if (!limit || *limit == 0 || *limit > kMost) {
    return refuse({.kind = &Wordings::wrongPageSize,
                   .path = "limit",
                   .value = queryValue(call.request, "limit"),
                   .detail = std::to_string(kMost)});
  }
  const std::string order = queryValue(call.request, "order");
  if (!order.empty() && order != "asc" && order != "desc") {
    return refuse({.kind = &Wordings::wrongValue, .path = "order", .value = order, .detail = "'asc' and 'desc'"});
  }
  return send(call.assistants.listMessages(call.captured.front(), {.runId = queryValue(call.request, "run_id"),
                                                                   .oldestFirst = order == "asc",
                                                                   .after = queryValue(call.request, "after"),
                                                                   .limit = *limit}));
}

Reply streamRun(const Call& call, const COJson& body) {
  const std::string& threadId = call.captured.front();
  auto opening = call.assistants.openRun(threadId, readMembers(body, kRunRules));
  if (const Flaw* flaw = std::get_if<Flaw>(&opening)) return refuse(*flaw);
  return streamEvents("text/event-stream", runEvents(call.assistants, threadId, std::get<RunOpening>(opening)));
}

Reply startRun(const Call& call) {
  const COJson body(call.request.body);
  if (const auto flaw = checkRun(body)) return refuse(*flaw);
  if (call.mayStream && flagOf(body, "stream")) return streamRun(call, body);
  return send(call.assistants.startRun(call.captured.front(), readMembers(body, kRunRules)));
}

Reply tellRun(const Call& call) { return send(call.assistants.tellRun(call.captured[0], call.captured[1])); }

Reply cancelRun(const Call& call) { return send(call.assistants.cancelRun(call.captured[0], call.captured[1])); }

constexpr std::array kRoutes{
    Route{"POST", "/v1/assistants", createAssistant},     Route{"GET", "/v1/assistants/*", tellAssistant},
    Route{"POST", "/v1/assistants/*", modifyAssistant},   Route{"DELETE", "/v1/assistants/*", deleteAssistant},
    Route{"POST", "/v1/threads", createThread},           Route{"GET", "/v1/threads/*", tellThread},
    Route{"DELETE", "/v1/threads/*", deleteThread},       Route{"POST", "/v1/threads/*/messages", addMessage},
    Route{"GET", "/v1/threads/*/messages", listMessages}, Route{"POST", "/v1/threads/*/runs", startRun},
    Route{"GET", "/v1/threads/*/runs/*", tellRun},        Route{"POST", "/v1/threads/*/runs/*/cancel", cancelRun},
};

}  // namespace

Service assistantsService() {
  Service service = openaiService();
  service.routes = kRoutes;
  service.admit = admit;
  return service;
}

}  // namespace standin
