#include "qai_chat_completions.h"

#include "qai_assistant_properties.h"

#include <cf/json_shortcuts.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

/// The members of a model that matter here.
struct Model {
  explicit Model(const ICOJsonValue& entry)
      : id(entry.obtainJsonValue("id")),
        object(entry.obtainJsonValue("object")),
        created(entry.obtainJsonValue("created")) {}

  bool isOne() const {
    return cfHasJsonType(id, JsonType::String) && cfHasJsonType(object, JsonType::String) &&
           object->obtainString() == "model";
  }

  const ICOJsonValue* id;
  const ICOJsonValue* object;
  const ICOJsonValue* created;
};

/// What of a choice came in an event.
void readDelta(const ICOJsonValue* delta, StreamedChoice& choice, StreamedReply& reply) {
  using Author = StreamedChoice::Author;
  if (delta == nullptr) return;
  const ICOJsonValue* role = cfFindJsonMember(delta, "role", JsonType::String);
  if (role != nullptr && choice.author == Author::Unknown) {
    choice.author = completions::isByAssistant(*delta) ? Author::Assistant : Author::Other;
  }
  const ICOJsonValue* content = cfFindJsonMember(delta, "content", JsonType::String);
  if (content != nullptr) reply.append(choice, content->obtainString());
}

/// What stands beside the choices.
void readModelAndUsage(const ICOJsonValue& reply, ReplyDetails& details) {
  readDetail(&reply, "model", details.model);
  const ICOJsonValue* usage = reply.obtainJsonValue("usage");
  readDetail(usage, "prompt_tokens", details.inputTokens);
  readDetail(usage, "completion_tokens", details.outputTokens);
  if (usage == nullptr) return;
  readDetail(usage->obtainJsonValue("prompt_tokens_details"), "cached_tokens", details.cachedTokens);
}

/// The same of a choice, whose text stands in its member `key`.
void readChoiceDetails(const ICOJsonValue& item, std::string_view key, ReplyDetails& details) {
  readDetail(&item, "finish_reason", details.finishReason);
  const ICOJsonValue* refusal = cfFindJsonMember(item.obtainJsonValue(key), "refusal", JsonType::String);
  if (refusal != nullptr) details.refusal += refusal->obtainString();
}

}  // namespace

bool completions::isByAssistant(const ICOJsonValue& message) {
  const ICOJsonValue* role = message.obtainJsonValue("role");
  return cfHasJsonType(role, JsonType::String) && role->obtainString() == "assistant";
}

void completions::writeBody(ChatBody& body, const ChatTurn& turn) {
  body.add(R"({"model":")").addCharacters(turn.settings.model).add("\"");
  if (turn.settings.assignedKeys.contains("temperature")) {
    body.add(R"(,"temperature":)").addNumber(turn.settings.temperature);
  }
  writeMessages(body, turn);
  if (turn.isStreamed) body.add(R"(,"stream":true)");
  if (turn.asksForUsage) body.add(R"(,"stream_options":{"include_usage":true})");
  body.add("}");
}

void completions::writeMessages(ChatBody& body, const ChatTurn& turn) {
  body.add(R"(,"messages":[)");
  if (!turn.instructions.isEmpty) {
    body.add(turn.instructionsStart).addInstructions(turn.instructions).add("},");
  }
  body.addMessages(turn.messages).add("]");
}

std::optional<std::string> completions::readReply(const ICOJsonValue& reply) {
  const ICOJsonValue* choices = reply.obtainJsonValue("choices");
  if (!cfHasJsonType(choices, JsonType::Array)) return std::nullopt;
  std::string text;
  for (std::size_t i = 0; i < choices->obtainArraySize(); ++i) {
    const ICOJsonValue* message = choices->obtainArrayItem(i)->obtainJsonValue("message");
    if (message == nullptr) continue;
    const ICOJsonValue* content = message->obtainJsonValue("content");
    if (cfHasJsonType(content, JsonType::String) && isByAssistant(*message)) text += content->obtainString();
  }
  return text;
}

void completions::readDetails(const ICOJsonValue& reply, ReplyDetails& details) {
  readModelAndUsage(reply, details);
  const ICOJsonValue* choices = reply.obtainJsonValue("choices");
  const ICOJsonValue* first = choices == nullptr ? nullptr : choices->obtainArrayItem(0);
  if (first != nullptr) readChoiceDetails(*first, "message", details);
}

void completions::readEvent(std::string_view /*type*/, const ICOJsonValue& event, StreamedReply& reply) {
  readModelAndUsage(event, reply.details);
  const ICOJsonValue* choices = event.obtainJsonValue("choices");
  if (!cfHasJsonType(choices, JsonType::Array)) return;
  reply.isInFormat = true;
  for (std::size_t i = 0; i < choices->obtainArraySize(); ++i) {
    const ICOJsonValue* item = choices->obtainArrayItem(i);
    StreamedChoice& choice = reply.obtainChoice(*item, i);
    readDelta(item->obtainJsonValue("delta"), choice, reply);
    if (reply.isFirst(choice)) readChoiceDetails(*item, "delta", reply.details);
    if (cfFindJsonMember(item, "finish_reason", JsonType::String) != nullptr) choice.hasEnded = true;
  }
}

std::vector<std::string> completions::readModels(const ICOJsonValue& list) {
  std::vector<std::string> models;
  for (std::size_t i = 0; i < list.obtainArraySize(); ++i) {
    const Model model(*list.obtainArrayItem(i));
    if (model.isOne()) models.emplace_back(model.id->obtainString());
  }
  return models;
}

std::vector<std::string> completions::readModelsByCreated(const ICOJsonValue& list) {
  struct Dated {
    std::uint64_t order;  // in the upper half what is smaller for newer models, in the lower one the place in the list
    const ICOJsonValue* id;
  };
  std::vector<Dated> found;
  found.reserve(list.obtainArraySize());
  for (std::size_t i = 0; i < list.obtainArraySize(); ++i) {
    const Model model(*list.obtainArrayItem(i));
    if (!model.isOne() || !cfHasJsonType(model.created, JsonType::Number)) continue;
    const auto age = static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max() -
                                                std::int64_t{createdAsInt32(model.created->obtainNumber())});
    found.push_back({age << 32U | i, model.id});
  }
  std::sort(found.begin(), found.end(), [](const Dated& left, const Dated& right) { return left.order < right.order; });
  std::vector<std::string> models;
  models.reserve(found.size());
  for (const Dated& model : found) models.emplace_back(model.id->obtainString());
  return models;
}

std::int64_t completions::toSeconds(double created) {
  using Limits = std::numeric_limits<std::int64_t>;
  constexpr double kBeyond = 9223372036854775808.0;  // 2^63
  if (created >= kBeyond) return Limits::max();
  if (created < -kBeyond) return Limits::min();
  return static_cast<std::int64_t>(created);
}

std::int32_t completions::createdAsInt32(double created) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(toSeconds(created)));
}
