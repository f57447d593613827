#include "qai_saved_settings.h"

#include <cf/text.h>

namespace {

std::string textOf(const ICOJsonValue* value) { return std::string(value->obtainString()); }

void writeSystemInstructions(COJsonValue& list, const CMVariantMap& instructions) {
  list.setArray();
  for (const auto& [key, value] : instructions) {
    COJsonValue* entry = list.addArrayItem();
    entry->addKeyValue("key")->setStringReference(key);
    entry->addKeyValue("value")->setString(value.stringValue());
  }
}

void loadText(const ICOJsonValue& data, const char* key, QAIAssistantProperties& record) {
  if (const ICOJsonValue* text = cfFindJsonMember(&data, key, JsonType::String)) record.setProperty(key, textOf(text));
}

void loadSystemInstructions(const ICOJsonValue& data, CMVariantMap& instructions) {
  const ICOJsonValue* list = cfFindJsonMember(&data, "system_instructions", JsonType::Array);
  const std::size_t size = list == nullptr ? 0 : list->obtainArraySize();
  for (std::size_t i = 0; i < size; ++i) {
    const ICOJsonValue* key = cfFindJsonMember(list->obtainArrayItem(i), "key", JsonType::String);
    const ICOJsonValue* value = cfFindJsonMember(list->obtainArrayItem(i), "value", JsonType::String);
    if (key != nullptr && value != nullptr) instructions[textOf(key)] = textOf(value);
  }
}

}  // namespace

void writeSavedSettings(COJsonValue& data, const QAIAssistantProperties& record, NoSystemInstructions none) {
  data.addKeyValue("api_host")->setStringReference(record.apiHost);
  data.addKeyValue("model")->setStringReference(record.model);
  data.addKeyValue("temperature")->setNumber(record.temperature);
  data.addKeyValue("user_instructions")->setStringReference(record.userInstructions);
  if (!record.systemInstructions.empty() || none == NoSystemInstructions::EmptyArray) {
    writeSystemInstructions(*data.addKeyValue("system_instructions"), record.systemInstructions);
  }
  data.addKeyValue("db_structure")->setStringReference(record.dbStructureJson);
}

void loadSavedSettings(const ICOJsonValue& data, QAIAssistantProperties& record,
                       std::initializer_list<const char*> furtherTexts) {
  if (const ICOJsonValue* host = cfFindJsonMember(&data, "api_host", JsonType::String)) {
    record.setProperty("api_host", cfTrimAsString(host->obtainString()));
  }
  loadText(data, "model", record);
  if (const ICOJsonValue* temperature = cfFindJsonMember(&data, "temperature", JsonType::Number)) {
    record.setProperty("temperature", temperature->obtainNumber());
  }
  loadText(data, "user_instructions", record);
  loadText(data, "db_structure", record);
  for (const char* key : furtherTexts) loadText(data, key, record);
  loadSystemInstructions(data, record.systemInstructions);
}
