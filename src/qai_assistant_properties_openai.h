// The settings record of the Assistants service, whose assistants have a name and a description.
#pragma once

#include "qai_assistant_properties.h"

class QAIAssistantProperties_OPENAI final : public QAIAssistantProperties {
 public:
  std::vector<std::pair<std::string, std::string>> obtainPropertyList() const override;
  CMVariant obtainProperty(const std::string& key) const override;
  /// "name" and "description" are not entered into assignedKeys, and a value of another type raises the assertion but
  /// is stored all the same, in its text form.
  bool setProperty(const std::string& key, const CMVariant& value) override;

  std::string name = "Orvenda Assistant";
  std::string description;

 private:
  struct Key;
  static const Key* findKey(std::string_view name);
};
