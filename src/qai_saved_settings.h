// The settings in a saved session's text, which every kind of session keeps alike.
#pragma once

#include "qai_assistant_properties.h"

#include <cf/json.h>

#include <initializer_list>

/// What the text holds under "system_instructions" when there are none.
enum class NoSystemInstructions { NoMember, EmptyArray };

/// Adds the settings to the object `data`, which refers to the record's texts.
void writeSavedSettings(COJsonValue& data, const QAIAssistantProperties& record, NoSystemInstructions none);

/// Hands the settings in `data` to the record by their keys, `furtherTexts` among them; what is missing or of a wrong
/// type is skipped. System instructions are added to those that the record has. The record refuses a temperature that
/// comes as a number, though the key then counts as assigned.
void loadSavedSettings(const ICOJsonValue& data, QAIAssistantProperties& record,
                       std::initializer_list<const char*> furtherTexts = {});
