// Asks for each export as a host does, so that a compiler says by which name it looks for it.
#include <qai.h>

struct Exports {
  decltype(&QAICreateAssistant) create = &QAICreateAssistant;
  decltype(&QAIFreeObject) free = &QAIFreeObject;
  decltype(&QAIRegisterCallback) registerCallback = &QAIRegisterCallback;
  decltype(&QAISetHTTPSettings) setHTTPSettings = &QAISetHTTPSettings;
  QAICallbackLocalizationInfo& (QAICallbackLocalizationInfo::*copy)(const QAICallbackLocalizationInfo&) =
      &QAICallbackLocalizationInfo::operator=;
  QAICallbackLocalizationInfo& (QAICallbackLocalizationInfo::*move)(QAICallbackLocalizationInfo&&) =
      &QAICallbackLocalizationInfo::operator=;
};
Exports exports;
