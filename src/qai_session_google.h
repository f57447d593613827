// Google Gemini.
#pragma once

#include "qai_chat_assistant.h"

extern const ChatDialect kGoogle;

class QAISession_GOOGLE final : public QAIChatSessionOf<kGoogle> {
  using QAIChatSessionOf::QAIChatSessionOf;
};

class QAIAssistant_GOOGLE final : public QAIChatAssistantOf<QAISession_GOOGLE, kGoogle> {
  using QAIChatAssistantOf::QAIChatAssistantOf;
};
