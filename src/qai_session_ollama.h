// Ollama.
#pragma once

#include "qai_chat_assistant.h"

extern const ChatDialect kOllama;

class QAISession_OLLAMA final : public QAIChatSessionOf<kOllama> {
  using QAIChatSessionOf::QAIChatSessionOf;
};

class QAIAssistant_OLLAMA final : public QAIChatAssistantOf<QAISession_OLLAMA, kOllama> {
  using QAIChatAssistantOf::QAIChatAssistantOf;
};
