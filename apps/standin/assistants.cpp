#include "assistants_store.h"
#include "openai.h"
#include "request.h"
#include "services.h"

#include <array>

namespace standin {
namespace {

Reply send(const StoreResult& result) {
  if (result.status == 200) return {.body = result.text};
  return openaiDialect().refuse({result.status, "", result.text, ""});
}

std::optional<Reply> admit(const Call& call) {
  if (auto refusal = openaiService().admit(call)) return refusal;
  if (call.request.header("OpenAI-Beta") == "assistants=v2") return std::nullopt;
  return openaiDialect().refuse({400, "invalid_beta",
                                 "You must provide the 'OpenAI-Beta' header to access the Assistants API. Please try "
                                 "again by setting the header 'OpenAI-Beta: assistants=v2'.",
                                 ""});
}

/// A message as it was sent, its content in the form in which it is told.
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
  return send(call.assistants.createAssistant(readMembers(COJson(call.request.body), kAssistantRules)));
}

Reply modifyAssistant(const Call& call) {
  const Members sent = readMembers(COJson(call.request.body), kAssistantRules);
  return send(call.assistants.modifyAssistant(call.captured.front(), sent));
}

Reply createThread(const Call& call) {
  return send(call.assistants.createThread(readMembers(COJson(call.request.body), kThreadRules), {}));
}

Reply addMessage(const Call& call) {
  const COJson body(call.request.body);
  const COJsonValue* content = body.obtainJsonValue("content");
  if (content == nullptr) return openaiDialect().refuse({400, "", "no content", "content"});
  return send(call.assistants.addMessage(call.captured.front(), readMessage(body)));
}

Reply listMessages(const Call& call) {
  return send(call.assistants.listMessages(
      call.captured.front(),
      {.runId = queryValue(call.request, "run_id"), .oldestFirst = queryValue(call.request, "order") == "asc"}));
}

Reply startRun(const Call& call) {
  return send(call.assistants.startRun(call.captured.front(), readMembers(COJson(call.request.body), kRunRules)));
}

constexpr std::array kRoutes{
    Route{"POST", "/v1/assistants", createAssistant},
    Route{"GET", "/v1/assistants/*",
          [](const Call& call) { return send(call.assistants.tellAssistant(call.captured.front())); }},
    Route{"POST", "/v1/assistants/*", modifyAssistant},
    Route{"DELETE", "/v1/assistants/*",
          [](const Call& call) { return send(call.assistants.deleteAssistant(call.captured.front())); }},
    Route{"POST", "/v1/threads", createThread},
    Route{"GET", "/v1/threads/*",
          [](const Call& call) { return send(call.assistants.tellThread(call.captured.front())); }},
    Route{"DELETE", "/v1/threads/*",
          [](const Call& call) { return send(call.assistants.deleteThread(call.captured.front())); }},
    Route{"POST", "/v1/threads/*/messages", addMessage},
    Route{"GET", "/v1/threads/*/messages", listMessages},
    Route{"POST", "/v1/threads/*/runs", startRun},
    Route{"GET", "/v1/threads/*/runs/*",
          [](const Call& call) { return send(call.assistants.tellRun(call.captured[0], call.captured[1])); }},
};

}  // namespace

Service assistantsService() {
  Service service = openaiService();
  service.routes = kRoutes;
  service.admit = admit;
  return service;
}

}  // namespace standin
