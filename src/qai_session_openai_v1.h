// OpenAI chat completions.
#pragma once

#include "qai_chat_assistant.h"
#include "qai_chat_completions.h"

/// What both of OpenAI's services have.
inline constexpr ServiceRow kOpenAIService{.defaultHost = "api.openai.com",
                                           .key = ServiceKey::Bearer,
                                           .sharesPool = true,
                                           .models = {.path = "/v1/models",
                                                      .member = "data",
                                                      .noJsonText = kUnsupportedFormat,
                                                      .label = ": g/v1/models",
                                                      .read = completions::readModelsByCreated}};

extern const ChatDialect kOpenAI;

class QAISession_OPENAI_v1 final : public QAIChatSessionOf<kOpenAI> {
  using QAIChatSessionOf::QAIChatSessionOf;
};

class QAIAssistant_OPENAI_v1 final : public QAIChatAssistantOf<QAISession_OPENAI_v1, kOpenAI> {
  using QAIChatAssistantOf::QAIChatAssistantOf;
};
