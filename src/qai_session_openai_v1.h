// OpenAI chat completions.
#pragma once

#include "qai_chat_assistant.h"

extern const ChatDialect kOpenAI;

class QAISession_OPENAI_v1 final : public QAIChatSessionOf<kOpenAI> {
  using QAIChatSessionOf::QAIChatSessionOf;
};

class QAIAssistant_OPENAI_v1 final : public QAIChatAssistantOf<QAISession_OPENAI_v1, kOpenAI> {
  using QAIChatAssistantOf::QAIChatAssistantOf;
};
