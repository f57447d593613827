#include "qai_session_ollama.h"

#include "qai_assistant_properties.h"
#include "qai_chat_completions.h"

#include <cf/json_shortcuts.h>

namespace {

std::vector<std::string> readModels(const ICOJsonValue& list) {
  std::vector<std::string> models;
  for (std::size_t i = 0; i < list.obtainArraySize(); ++i) {
    const ICOJsonValue* name = list.obtainArrayItem(i)->obtainJsonValue("name");
    if (cfHasJsonType(name, JsonType::String)) models.emplace_back(name->obtainString());
  }
  return models;
}

void writeBody(ChatBody& body, const ChatTurn& turn) {
  body.add(R"({"model":")").addCharacters(turn.settings.model).add("\"");
  body.add(turn.isStreamed ? R"(,"stream":true)" : R"(,"stream":false)");
  if (turn.settings.assignedKeys.contains("temperature")) {
    body.add(R"(,"options":{"temperature":)").addNumber(turn.settings.temperature).add("}");
  }
  completions::writeMessages(body, turn);
  body.add("}");
}

std::optional<std::string> readReply(const ICOJsonValue& reply) {
  const ICOJsonValue* message = reply.obtainJsonValue("message");
  if (!cfHasJsonType(message, JsonType::Object)) return std::nullopt;
  const ICOJsonValue* content = message->obtainJsonValue("content");
  if (!cfHasJsonType(content, JsonType::String)) return std::nullopt;
  return completions::isByAssistant(*message) ? std::string(content->obtainString()) : std::string();
}

void readDetails(const ICOJsonValue& reply, ReplyDetails& details) {
  readDetail(&reply, "model", details.model);
  readDetail(&reply, "done_reason", details.finishReason);
  readDetail(&reply, "prompt_eval_count", details.inputTokens);
  readDetail(&reply, "eval_count", details.outputTokens);
}

void readEvent(std::string_view /*type*/, const ICOJsonValue& event, StreamedReply& reply) {
  readDetails(event, reply.details);
  const std::optional<std::string> text = readReply(event);
  StreamedChoice& choice = reply.obtainChoice(event, 0);
  choice.author = StreamedChoice::Author::Assistant;
  if (text) {
    reply.isInFormat = true;
    reply.append(choice, *text);
  }
  const ICOJsonValue* done = event.obtainJsonValue("done");
  if (done == nullptr || !done->obtainBool()) return;
  reply.isDone = true;
  choice.hasEnded = true;
}

}  // namespace

// https://github.com/ollama/ollama/blob/main/docs/api.md
constinit const ChatDialect kOllama{
    .service = {.defaultHost = "localhost:11434",
                .key = ServiceKey::None,
                .sharesPool = false,
                .models = {.path = "/api/tags",
                           .member = "models",
                           .noJsonText = kInvalidResponse,
                           .label = ": g/api/tags",
                           .read = readModels}},
    .instructionsStart = completions::kSystemStart,
    .turn = {.path = "/api/chat",
             .noModelLabel = ": p/api/chat",
             .noJsonLabel = ": g/api/chat",  // the other method's label, as hosts know it
             .formatLabel = ": p/api/chat"},
    .stream = {.form = {.framing = StreamForm::Framing::Lines, .accept = "application/x-ndjson", .read = readEvent}},
    .entry = completions::kEntry,
    .writeBody = writeBody,
    .readReply = readReply,
    .readDetails = readDetails,
    .place = {__FILE__, __LINE__},
};
