#include "qai_session_google.h"

#include "qai_assistant_properties.h"

#include <cf/json_shortcuts.h>

namespace {

constexpr std::string_view kModelPrefix = "models/";

/// Whether `methods` is an array that holds "generateContent".
bool canGenerate(const ICOJsonValue* methods) {
  if (!cfHasJsonType(methods, JsonType::Array)) return false;
  for (std::size_t i = 0; i < methods->obtainArraySize(); ++i) {
    if (methods->obtainArrayItem(i)->obtainString() == "generateContent") return true;
  }
  return false;
}

std::vector<std::string> readModels(const ICOJsonValue& list) {
  std::vector<std::string> models;
  for (std::size_t i = 0; i < list.obtainArraySize(); ++i) {
    const ICOJsonValue* model = list.obtainArrayItem(i);
    const ICOJsonValue* name = model->obtainJsonValue("name");
    if (!cfHasJsonType(name, JsonType::String) || !canGenerate(model->obtainJsonValue("supportedGenerationMethods")))
      continue;
    std::string_view id = name->obtainString();
    if (id.starts_with(kModelPrefix)) id.remove_prefix(kModelPrefix.size());
    models.emplace_back(id);
  }
  return models;
}

void writeBody(ChatBody& body, const ChatTurn& turn) {
  body.add("{");
  if (turn.settings.assignedKeys.contains("temperature")) {
    body.add(R"("generationConfig":{"temperature":)").addNumber(turn.settings.temperature).add("},");
  }
  if (!turn.instructions.isEmpty) {
    body.add(R"("system_instruction":{"parts":[{"text":)").addInstructions(turn.instructions).add("}]},");
  }
  body.add(R"("contents":[)").addMessages(turn.messages).add("]}");
}

void appendParts(std::string& text, const ICOJsonValue* content) {
  if (content == nullptr) return;
  const ICOJsonValue* role = content->obtainJsonValue("role");
  const ICOJsonValue* parts = content->obtainJsonValue("parts");
  if (!cfHasJsonType(role, JsonType::String) || role->obtainString() != "model" ||
      !cfHasJsonType(parts, JsonType::Array))
    return;
  for (std::size_t i = 0; i < parts->obtainArraySize(); ++i) {
    const ICOJsonValue* part = parts->obtainArrayItem(i)->obtainJsonValue("text");
    if (cfHasJsonType(part, JsonType::String)) text += part->obtainString();
  }
}

std::optional<std::string> readReply(const ICOJsonValue& reply) {
  const ICOJsonValue* candidates = reply.obtainJsonValue("candidates");
  if (!cfHasJsonType(candidates, JsonType::Array)) return std::nullopt;
  std::string text;
  for (std::size_t i = 0; i < candidates->obtainArraySize(); ++i) {
    appendParts(text, candidates->obtainArrayItem(i)->obtainJsonValue("content"));
  }
  return text;
}

/// What stands beside the candidates.
void readModelAndUsage(const ICOJsonValue& reply, ReplyDetails& details) {
  readDetail(&reply, "modelVersion", details.model);
  readDetail(&reply, "responseId", details.requestIdentifier);
  const ICOJsonValue* usage = reply.obtainJsonValue("usageMetadata");
  readDetail(usage, "promptTokenCount", details.inputTokens);
  readDetail(usage, "cachedContentTokenCount", details.cachedTokens);
  std::int64_t text = -1;
  std::int64_t thoughts = 0;
  readDetail(usage, "candidatesTokenCount", text);
  readDetail(usage, "thoughtsTokenCount", thoughts);
  if (text >= 0) details.outputTokens = text + thoughts;
}

void readDetails(const ICOJsonValue& reply, ReplyDetails& details) {
  readModelAndUsage(reply, details);
  const ICOJsonValue* candidates = reply.obtainJsonValue("candidates");
  const ICOJsonValue* first = candidates == nullptr ? nullptr : candidates->obtainArrayItem(0);
  if (first != nullptr) readDetail(first, "finishReason", details.finishReason);
}

void readEvent(std::string_view /*type*/, const ICOJsonValue& event, StreamedReply& reply) {
  readModelAndUsage(event, reply.details);
  const ICOJsonValue* candidates = event.obtainJsonValue("candidates");
  if (!cfHasJsonType(candidates, JsonType::Array)) return;
  reply.isInFormat = true;
  for (std::size_t i = 0; i < candidates->obtainArraySize(); ++i) {
    const ICOJsonValue* candidate = candidates->obtainArrayItem(i);
    StreamedChoice& choice = reply.obtainChoice(*candidate, i);
    choice.author = StreamedChoice::Author::Assistant;
    std::string text;
    appendParts(text, candidate->obtainJsonValue("content"));
    reply.append(choice, text);
    if (reply.isFirst(choice)) readDetail(candidate, "finishReason", reply.details.finishReason);
    if (cfFindJsonMember(candidate, "finishReason", JsonType::String) != nullptr) choice.hasEnded = true;
  }
}

}  // namespace

// https://ai.google.dev/api/generate-content and https://ai.google.dev/api/models
constinit const ChatDialect kGoogle{
    .service = {.defaultHost = "generativelanguage.googleapis.com",
                .key = ServiceKey::Query,
                .sharesPool = true,
                .models = {.path = "/v1beta/models",
                           .member = "models",
                           .noJsonText = kInvalidResponse,
                           .label = ": g/v1beta/models",
                           .read = readModels}},
    .instructionsStart = "",  // they have a member of their own
    .turn = {.path = "/v1beta/models/{model}:generateContent",
             .noModelLabel = ": p/v1beta/models/generateContent",
             .noJsonLabel = ": p/v1beta/models/{model}:generateContent",
             .formatLabel = ": p/v1beta/models/{model}:generateContent"},
    .stream = {.path = "/v1beta/models/{model}:streamGenerateContent",
               .query = {"alt", "sse"},
               .form = {.hasDoneMark = false, .read = readEvent}},
    .entry = {.userStart = R"({"role":"user","parts":[{"text":")",
              .assistantStart = R"({"role":"model","parts":[{"text":")",
              .end = R"("}]})"},
    .writeBody = writeBody,
    .readReply = readReply,
    .readDetails = readDetails,
    .place = {__FILE__, __LINE__},
};
