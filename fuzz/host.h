// A host as the targets need it: assistants whose requests end in the scripted network.
#pragma once

#include "network.h"
#include "support/host.h"
#include "support/services.h"

#include <qai.h>

#include <string>
#include <string_view>
#include <vector>

inline const std::string kKey = "sk-canary-7f3a9c-0b51e8";
inline const std::string kApiHost = "https://ai.example.com";

/// An assistant of the service; the Assistants service's does not sleep between its questions after a run.
Owned<IQAIAssistant> makeAssistant(QAIAssistantType type, const std::string& apiHost = kApiHost,
                                   const std::string& key = kKey);

/// What a healthy service answers to a turn, whose reply is then kHealthyReply.
std::vector<Reply> healthyTurn(QAIAssistantType type);
inline constexpr std::string_view kHealthyReply = "two parts";
/// … to the creation of a thing that gets an identifier, with the Assistants service.
std::vector<Reply> healthyCreation();

/// All settings as one text.
std::string settingsOf(IQAIAssistant& assistant);
