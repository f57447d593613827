// Picks the provider class for a type.
#include "qai_assistant_openai.h"
#include "qai_session_deepseek.h"
#include "qai_session_google.h"
#include "qai_session_ollama.h"
#include "qai_session_openai_v1.h"

#include <qai.h>

IQAIAssistant* QAICreateAssistant(QAIAssistantType type, ICSHTTPPoolCenter* pool, const std::string& apiKey,
                                  const std::string& apiHost) {
  switch (type) {
    case OPENAI_v1:
      return new QAIAssistant_OPENAI_v1(pool, apiHost, apiKey);
    case OPENAI:
      return new QAIAssistant_OPENAI(pool, apiHost, apiKey);
    case GOOGLE:
      return new QAIAssistant_GOOGLE(pool, apiHost, apiKey);
    case DEEPSEEK:
      return new QAIAssistant_DEEPSEEK(pool, apiHost, apiKey);
    case OLLAMA:
      return new QAIAssistant_OLLAMA(pool, apiHost, apiKey);
  }
  return nullptr;
}
