// What the Assistants protocol refuses a body for.
#pragma once

#include "assistants_objects.h"
#include "flaws.h"

#include <optional>

namespace standin {

/// OpenAI's wordings, with those that this protocol has of its own.
const Wordings& assistantsWordings();

std::optional<Flaw> checkNewAssistant(const COJson& body);
std::optional<Flaw> checkChangedAssistant(const COJson& body);
std::optional<Flaw> checkThread(const COJson& body);
std::optional<Flaw> checkMessage(const COJson& body);
std::optional<Flaw> checkRun(const COJson& body);

/// That an assistant or a run has a model that there is, and a temperature that the model takes.
std::optional<Flaw> checkModel(const Members& members);

}  // namespace standin
