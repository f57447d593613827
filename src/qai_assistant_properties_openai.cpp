#include "qai_assistant_properties_openai.h"

#include <cf/assert.h>

#include <array>

/// A key beside those that every record has.
struct QAIAssistantProperties_OPENAI::Key {
  std::string_view name;
  std::string QAIAssistantProperties_OPENAI::*field;

  static const std::array<Key, 2> kAll;
};

// NOLINTNEXTLINE(cert-err58-cpp): constinit says that nothing runs here
constinit const std::array<QAIAssistantProperties_OPENAI::Key, 2> QAIAssistantProperties_OPENAI::Key::kAll{{
    {"name", &QAIAssistantProperties_OPENAI::name},
    {"description", &QAIAssistantProperties_OPENAI::description},
}};

const QAIAssistantProperties_OPENAI::Key* QAIAssistantProperties_OPENAI::findKey(std::string_view name) {
  for (const Key& key : Key::kAll) {
    if (key.name == name) return &key;
  }
  return nullptr;
}

std::vector<std::pair<std::string, std::string>> QAIAssistantProperties_OPENAI::obtainPropertyList() const {
  auto list = QAIAssistantProperties::obtainPropertyList();
  for (const Key& key : Key::kAll) list.emplace_back(key.name, "string");
  return list;
}

CMVariant QAIAssistantProperties_OPENAI::obtainProperty(const std::string& key) const {
  const Key* own = findKey(key);
  return own == nullptr ? QAIAssistantProperties::obtainProperty(key) : CMVariant(this->*own->field);
}

bool QAIAssistantProperties_OPENAI::setProperty(const std::string& key, const CMVariant& value) {
  const Key* own = findKey(key);
  if (own == nullptr) return QAIAssistantProperties::setProperty(key, value);
  CF_ASSERT(value.getValueType() == CMVariant::ValueType::String);
  this->*own->field = value.stringValue();
  return true;
}
