#include "qai_chat_completions.h"

#include "qai_assistant_properties.h"

#include <limits>
#include <map>

namespace {

void fillMessage(COJsonValue& message, std::string_view role, std::string_view content) {
  message.addKeyValue("role")->setStringReference(role);
  message.addKeyValue("content")->setStringReference(content);
}

bool isModel(const ICOJsonValue& entry) {
  const ICOJsonValue* object = entry.obtainJsonValue("object");
  return cfHasJsonType(entry.obtainJsonValue("id"), JsonType::String) && cfHasJsonType(object, JsonType::String) &&
         object->obtainString() == "model";
}

std::string idOf(const ICOJsonValue& model) { return std::string(model.obtainJsonValue("id")->obtainString()); }

}  // namespace

bool completions::isByAssistant(const ICOJsonValue& message) {
  const ICOJsonValue* role = message.obtainJsonValue("role");
  return cfHasJsonType(role, JsonType::String) && role->obtainString() == "assistant";
}

void completions::writeBody(COJson& body, const ChatTurn& turn) {
  body.addKeyValue("model")->setStringReference(turn.settings.model);
  if (turn.settings.assignedKeys.contains("temperature")) {
    body.addKeyValue("temperature")->setNumber(turn.settings.temperature);
  }
  writeMessages(*body.addKeyValue("messages"), turn);
}

void completions::writeEntry(COJsonValue& entry, bool byAssistant, std::string_view text) {
  fillMessage(entry, byAssistant ? "assistant" : "user", text);
}

void completions::writeMessages(COJsonValue& messages, const ChatTurn& turn) {
  if (!turn.instructions.empty()) fillMessage(*messages.addArrayItem(), turn.instructionsRole, turn.instructions);
  if (!turn.history.empty()) messages.addArrayItem()->setJsonReference(turn.history);
  writeEntry(*messages.addArrayItem(), false, turn.text);
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

std::vector<std::string> completions::readModels(const ICOJsonValue& list) {
  std::vector<std::string> models;
  for (std::size_t i = 0; i < list.obtainArraySize(); ++i) {
    const ICOJsonValue& model = *list.obtainArrayItem(i);
    if (isModel(model)) models.push_back(idOf(model));
  }
  return models;
}

std::vector<std::string> completions::readModelsByCreated(const ICOJsonValue& list) {
  std::multimap<std::int32_t, std::string, std::greater<>> byCreated;
  for (std::size_t i = 0; i < list.obtainArraySize(); ++i) {
    const ICOJsonValue& model = *list.obtainArrayItem(i);
    const ICOJsonValue* created = model.obtainJsonValue("created");
    if (!isModel(model) || !cfHasJsonType(created, JsonType::Number)) continue;
    byCreated.emplace(createdAsInt32(created->obtainNumber()), idOf(model));
  }
  std::vector<std::string> models;
  models.reserve(byCreated.size());
  for (auto& [created, id] : byCreated) models.push_back(std::move(id));
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
