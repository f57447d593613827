// What holds for sessions and turns of every service.
#pragma once

#include "host.h"

#include <string>
#include <string_view>

/// Saving what was restored from a saved text gives that text, in a new assistant, and no key is in it.
void expectRestorable(QAIAssistantType type, const IQAISession& session, std::string_view input);

/// With a healthy service a turn succeeds, whatever came before.
void expectHealthyTurn(QAIAssistantType type, IQAIAssistant& assistant, IQAISession& session);
