#include "fixture.h"

#include <cstring>

namespace {

standin::Script answer(int status, const std::string& body) {
  standin::Script script;
  script.status = status;
  script.body = body;
  return script;
}

}  // namespace

Contract::Contract(const TestedService& service, standin::Options options)
    : service_(service), standin_(std::move(options)) {}

Contract::~Contract() {
  QAIRegisterCallback(nullptr);
  QAISetHTTPSettings({});
}

Owned<IQAIAssistant> Contract::bareAssistant(ICSHTTPPoolCenter* pool, const std::string& key) {
  return Owned<IQAIAssistant>(QAICreateAssistant(service_.type, pool, key, standin_.address()));
}

Owned<IQAIAssistant> Contract::assistantWith(const std::string& key) {
  Owned<IQAIAssistant> assistant = bareAssistant(CF::createHTTPPoolCenter(), key);
  assign(*assistant, {{"model", service_.model}});
  return assistant;
}

void Contract::answerNext(int status, const std::string& body) { standin_.script(answer(status, body)); }

std::string Contract::lastBody() const { return standin_.requests().back().body; }

void translateToX(const char* name, void* data) {
  if (std::strcmp(name, "QAILocalizeString") != 0) return;
  std::strcpy(static_cast<QAICallbackLocalizationInfo*>(data)->buffer, "X");
}

std::string serviceName(const testing::TestParamInfo<TestedService>& row) { return row.param.name; }
