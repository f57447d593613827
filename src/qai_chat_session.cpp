#include "qai_chat_session.h"

#include <cf/assert.h>
#include <cf/text.h>

namespace {

constexpr auto kUser = static_cast<std::uint32_t>(QAIMessageRole::User);
constexpr auto kAssistant = static_cast<std::uint32_t>(QAIMessageRole::Assistant);

bool isString(const ICOJsonValue* value) { return cfHasJsonType(value, JsonType::String); }

std::string textOf(const ICOJsonValue* value) { return std::string(value->obtainString()); }

/// The name of a role in a saved text; null for a role that no entry may have.
const char* savedRole(std::uint32_t role) {
  if (role == kUser) return "user";
  return role == kAssistant ? "assistant" : nullptr;
}

}  // namespace

QAIChatSession::QAIChatSession(QAIAssistantProperties& properties, const ChatDialect& dialect)
    : properties_(properties), dialect_(dialect) {}

std::string QAIChatSession::obtainSessionData() const {
  COJson data;
  writeSettings(data);
  return writeHistory(*data.addKeyValue("messages")) ? data.obtainJsonString() : std::string();
}

void QAIChatSession::writeSettings(COJson& data) const {
  data.addKeyValue("api_host")->setStringReference(properties_.apiHost);
  data.addKeyValue("model")->setStringReference(properties_.model);
  data.addKeyValue("temperature")->setNumber(properties_.temperature);
  data.addKeyValue("user_instructions")->setStringReference(properties_.userInstructions);
  if (!properties_.systemInstructions.empty()) {
    COJsonValue* list = data.addKeyValue("system_instructions");
    for (const auto& [key, value] : properties_.systemInstructions) {
      COJsonValue* entry = list->addArrayItem();
      entry->addKeyValue("key")->setStringReference(key);
      entry->addKeyValue("value")->setString(value.stringValue());
    }
  }
  data.addKeyValue("db_structure")->setStringReference(properties_.dbStructureJson);
}

bool QAIChatSession::writeHistory(COJsonValue& messages) const {
  messages.setArray();
  for (const auto& message : history_) {
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
  const COJson saved(data);
  if (!saved.getIsValidJson()) return false;
  loadSettings(saved);
  loadSystemInstructions(saved.obtainJsonValue("system_instructions"));
  loadHistory(saved.obtainJsonValue("messages"));
  return true;
}

void QAIChatSession::loadSettings(const COJson& saved) {
  const auto store = [this](const char* key, const CMVariant& value) { properties_.setProperty(key, value); };
  const auto storeText = [&](const char* key) {
    if (const ICOJsonValue* value = saved.obtainJsonValue(key); isString(value)) store(key, textOf(value));
  };
  if (const ICOJsonValue* host = saved.obtainJsonValue("api_host"); isString(host)) {
    store("api_host", cfTrimAsString(host->obtainString()));
  }
  storeText("model");
  if (const ICOJsonValue* temperature = saved.obtainJsonValue("temperature");
      cfHasJsonType(temperature, JsonType::Number)) {
    store("temperature", temperature->obtainNumber());
  }
  storeText("user_instructions");
  storeText("db_structure");
}

void QAIChatSession::loadSystemInstructions(const ICOJsonValue* list) {
  const std::size_t size = list == nullptr ? 0 : list->obtainArraySize();
  for (std::size_t i = 0; i < size; ++i) {
    const ICOJsonValue* entry = list->obtainArrayItem(i);
    const ICOJsonValue* key = entry->obtainJsonValue("key");
    const ICOJsonValue* value = entry->obtainJsonValue("value");
    if (isString(key) && isString(value)) properties_.systemInstructions[textOf(key)] = textOf(value);
  }
}

void QAIChatSession::loadHistory(const ICOJsonValue* messages) {
  const std::size_t size = messages == nullptr ? 0 : messages->obtainArraySize();
  history_.reserve(size);
  for (std::size_t i = 0; i < size; ++i) {
    const ICOJsonValue* entry = messages->obtainArrayItem(i);
    const ICOJsonValue* role = entry->obtainJsonValue("role");
    const ICOJsonValue* content = entry->obtainJsonValue("content");
    if (!isString(role) || !isString(content)) continue;
    if (role->obtainString() == "user") append(kUser, textOf(content));
    if (role->obtainString() == "assistant") append(kAssistant, textOf(content));
  }
}

void QAIChatSession::append(std::uint32_t role, std::string text) {
  history_.push_back(std::make_unique<QAIMessage>(role, std::move(text)));
}

void QAIChatSession::appendTurn(std::string question, std::string reply) {
  auto asked = std::make_unique<QAIMessage>(kUser, std::move(question));
  auto answered = std::make_unique<QAIMessage>(kAssistant, std::move(reply));
  history_.reserve(history_.size() + 2);  // so that neither of the next two can fail
  history_.push_back(std::move(asked));
  history_.push_back(std::move(answered));
}
