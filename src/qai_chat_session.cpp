#include "qai_chat_session.h"

#include <cf/assert.h>
#include <cf/json_shortcuts.h>

namespace {

constexpr auto kUser = static_cast<std::uint32_t>(QAIMessageRole::User);
constexpr auto kAssistant = static_cast<std::uint32_t>(QAIMessageRole::Assistant);

/// The name of a role in a saved text; null for a role that no entry may have.
const char* savedRole(std::uint32_t role) {
  if (role == kUser) return "user";
  return role == kAssistant ? "assistant" : nullptr;
}

}  // namespace

QAIChatSession::QAIChatSession(QAIAssistantProperties& properties, const ChatDialect& dialect)
    : properties_(properties), dialect_(dialect), history_(dialect.entry) {}

std::string QAIChatSession::obtainSessionData() const {
  COJson data;
  properties_.save(data, EmptyProperties::LeftOut);
  return writeHistory(*data.addKeyValue("messages")) ? data.obtainJsonString() : std::string();
}

bool QAIChatSession::writeHistory(COJsonValue& messages) const {
  messages.setArray();
  for (const auto& message : history_.entries()) {
    const char* role = savedRole(message->role);
    if (role == nullptr || message->sections.empty())
      return cfRaiseAssertion("false", dialect_.place.file, dialect_.place.line);
    COJsonValue* entry = messages.addArrayItem();
    entry->addKeyValue("role")->setStringReference(role);
    entry->addKeyValue("content")->setStringReference(message->firstText());
  }
  return true;
}

bool QAIChatSession::load(const std::string& data) {
  const COJson saved = COJson::readReference(data);
  if (!saved.getIsValidJson()) return false;
  properties_.restore(saved);
  loadHistory(saved.obtainJsonValue("messages"));
  return true;
}

void QAIChatSession::loadHistory(const ICOJsonValue* messages) {
  const std::size_t size = messages == nullptr ? 0 : messages->obtainArraySize();
  for (std::size_t i = 0; i < size; ++i) {
    const ICOJsonValue* role = cfFindJsonMember(messages->obtainArrayItem(i), "role", JsonType::String);
    const ICOJsonValue* content = cfFindJsonMember(messages->obtainArrayItem(i), "content", JsonType::String);
    if (role == nullptr || content == nullptr) continue;
    if (role->obtainString() == "user") append(kUser, std::string(content->obtainString()));
    if (role->obtainString() == "assistant") append(kAssistant, std::string(content->obtainString()));
  }
}
