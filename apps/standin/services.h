// The services that the stand-in speaks for.
#pragma once

#include "protocol.h"

namespace standin {

/// OpenAI's chat completions, as far as a client without streams and tools meets them.
Service openaiService();
/// OpenAI's Assistants, version 2: a conversation that the service keeps.
Service assistantsService();
/// DeepSeek's chat completions.
Service deepseekService();
/// A local Ollama server's chat.
Service ollamaService();
/// Google Gemini's content generation.
Service geminiService();

}  // namespace standin
