// The services that the stand-in speaks for.
#pragma once

#include "protocol.h"

#include <vector>

namespace standin {

/// OpenAI's chat completions, as far as a client without tools meets them.
Service openaiService();
/// OpenAI's Assistants, version 2: a conversation that the service keeps.
Service assistantsService();
/// DeepSeek's chat completions.
Service deepseekService();
/// A local Ollama server's chat.
Service ollamaService();
/// Google Gemini's content generation.
Service geminiService();

/// The services at the places that `mounts` names, or at their usual ones when it names none.
/// @throw std::runtime_error when there is no such service or place.
std::vector<Site> mountServices(const std::vector<Mount>& mounts);

}  // namespace standin
