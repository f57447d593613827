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

  /// Writes what was set into `record`, name and description in any case. What else was not set stays there as it was,
  /// and system instructions are added to those that it has, while the service gets what this one has of both: after
  /// a second description the record may show more than the service holds.
  void describe(QAIAssistantProperties_OPENAI& record) const;

  /// As the base's, with name and description in front.
  void save(COJsonValue& data) const;
  void restore(const ICOJsonValue& data);

  std::string name = "Orvenda Assistant";
  std::string description;
};
