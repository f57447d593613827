// Picks the provider class for a type.
#include "qai_session_openai_v1.h"

#include <qai.h>

IQAIAssistant* QAICreateAssistant(QAIAssistantType type, ICSHTTPPoolCenter* pool, const std::string& apiKey,
                                  const std::string& apiHost) {
  switch (type) {
    case OPENAI_v1:
      return new QAIAssistant_OPENAI_v1(pool, apiHost, apiKey);
    default:
      return nullptr;
  }
}
