#include "host.h"

#include "qai_assistant_openai.h"

#include <cf/json_shortcuts.h>

namespace {

Owned<IQAIAssistant> createAssistant(QAIAssistantType type, const std::string& apiHost, const std::string& key) {
  if (type != OPENAI) return Owned<IQAIAssistant>(QAICreateAssistant(type, nullptr, key, apiHost));
  const RunSleep wakeAtOnce = [](std::chrono::milliseconds /*time*/) {};
  return Owned<IQAIAssistant>(new QAIAssistant_OPENAI(nullptr, apiHost, key, wakeAtOnce));
}

}  // namespace

Owned<IQAIAssistant> makeAssistant(QAIAssistantType type, const std::string& apiHost, const std::string& key) {
  Owned<IQAIAssistant> assistant = createAssistant(type, apiHost, key);
  network().apiHost = property(*assistant, "api_host").stringValue();
  return assistant;
}

std::vector<Reply> healthyTurn(QAIAssistantType type) {
  const TestedService& service = *findService(type);
  if (!service.keepsConversations) return {{200, service.replyBody}};
  return {{200, R"({"id":"msg_1"})"},
          {200, R"({"id":"run_1"})"},
          {200, R"({"id":"run_1","status":"completed"})"},
          {200, R"({"data":[{"created_at":1,"content":[{"type":"text","text":{"value":"two parts"}}]}]})"}};
}

std::vector<Reply> healthyCreation() { return {{200, R"({"id":"thing_1"})"}}; }

std::string settingsOf(IQAIAssistant& assistant) {
  std::string text;
  for (const char* key : {"api_host", "model", "temperature", "user_instructions", "system_instructions",
                          "db_structure", "combined_instructions", "name", "description"}) {
    text.append(key).append("=").append(cfWriteJson(property(assistant, key))).append("\n");
  }
  return text;
}
