// DeepSeek.
#pragma once

#include "qai_chat_assistant.h"

extern const ChatDialect kDeepSeek;

class QAISession_DEEPSEEK final : public QAIChatSessionOf<kDeepSeek> {
  using QAIChatSessionOf::QAIChatSessionOf;
};

class QAIAssistant_DEEPSEEK final : public QAIChatAssistantOf<QAISession_DEEPSEEK, kDeepSeek> {
  using QAIChatAssistantOf::QAIChatAssistantOf;
};
