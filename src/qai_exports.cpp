// The exports other than the factory, with the two variables that are the library's whole state.
#include "qai_exports.h"

#include <cf/immortal.h>
#include <qai.h>

#include <cstring>
#include <utility>

namespace {
CFImmortal<CMRestGlobalSettings> immortalSettings;  // NOLINT(cert-err58-cpp): its only text fits without an allocation
QAICallback registeredCallback = nullptr;
}  // namespace

CMRestGlobalSettings& httpSettings = immortalSettings.get();

std::string localizeString(const std::string& text) {
  if (text.empty() || registeredCallback == nullptr) return text;
  QAICallbackLocalizationInfo info;
  info.text = text.c_str();
  registeredCallback("QAILocalizeString", &info);
  const std::size_t length = std::strlen(info.buffer);
  if (length == 0) return text;
  return {info.buffer, length};
}

void QAIFreeObject(IQAIObject* object) { delete object; }

void QAIRegisterCallback(QAICallback callback) { registeredCallback = callback; }

void QAISetHTTPSettings(const CMRestGlobalSettings& settings) {
  CMRestGlobalSettings copy = settings;  // what fails, fails here
  httpSettings = std::move(copy);
}

QAICallbackLocalizationInfo& QAICallbackLocalizationInfo::operator=(const QAICallbackLocalizationInfo& other) {
  if (this == &other) return *this;
  text = other.text;
  std::memcpy(buffer, other.buffer, sizeof buffer);
  return *this;
}

// Nothing can be moved out of a plain record, so this is the copy.
// NOLINTNEXTLINE(bugprone-exception-escape,performance-noexcept-move-constructor): the exported signature is fixed
QAICallbackLocalizationInfo& QAICallbackLocalizationInfo::operator=(QAICallbackLocalizationInfo&& other) {
  return *this = other;
}
