#include "qai_assistant_properties_openai.h"

#include <cf/assert.h>

#include <array>

namespace {

using Record = QAIAssistantProperties_OPENAI;

/// A value of another type is stored all the same, in its text form, and the key does not count as assigned.
template <std::string Record::*field>
bool writeText(Record& record, const CMVariant& value) {
  CF_ASSERT(value.getValueType() == CMVariant::ValueType::String);
  record.*field = value.stringValue();
  return true;
}

/// A key that is carried over whether or not it was set.
template <std::string Record::*field>
constexpr PropertyKey<Record> ownKey(std::string_view name) {
  return {.name = name,
          .description = "string",
          .read = [](const Record& record) { return CMVariant(record.*field); },
          .write = &writeText<field>,
          .adopt = nullptr,
          .apply = [](const Record& record, std::string_view, Record& target) { target.*field = record.*field; },
          .save = [](COJsonValue& member, const Record& record) { member.setStringReference(record.*field); },
          .restore = &restoreText<Record>};
}

/// Beside those that every record has.
constexpr std::array<PropertyKey<Record>, 2> kOwnKeys{
    {ownKey<&Record::name>("name"), ownKey<&Record::description>("description")}};

/// The shared keys that stand before these; later ones follow, so that no key moves.
constexpr std::ptrdiff_t kKeysBefore = 7;

}  // namespace

std::vector<std::pair<std::string, std::string>> QAIAssistantProperties_OPENAI::obtainPropertyList() const {
  auto list = QAIAssistantProperties::obtainPropertyList();
  auto place = list.begin() + kKeysBefore;
  for (const auto& key : kOwnKeys) place = list.emplace(place, key.name, key.description) + 1;
  return list;
}

CMVariant QAIAssistantProperties_OPENAI::obtainProperty(const std::string& key) const {
  const auto* own = findProperty(kOwnKeys, key);
  return own == nullptr ? QAIAssistantProperties::obtainProperty(key) : own->read(*this);
}

bool QAIAssistantProperties_OPENAI::setProperty(const std::string& key, const CMVariant& value) {
  const auto* own = findProperty(kOwnKeys, key);
  return own == nullptr ? QAIAssistantProperties::setProperty(key, value) : own->write(*this, value);
}

void QAIAssistantProperties_OPENAI::describe(QAIAssistantProperties_OPENAI& record) const {
  applyAssignedProperties(&record);
  for (const auto& key : kOwnKeys) key.apply(*this, key.name, record);
  if (assignedKeys.contains("temperature")) record.temperature = temperature;  // which the record refuses as a number
}

void QAIAssistantProperties_OPENAI::save(COJsonValue& data) const {
  saveProperties(data, *this, kOwnKeys, EmptyProperties::Saved);
  QAIAssistantProperties::save(data, EmptyProperties::Saved);
}

void QAIAssistantProperties_OPENAI::restore(const ICOJsonValue& data) {
  QAIAssistantProperties::restore(data);
  restoreProperties(*this, data, kOwnKeys);
}
