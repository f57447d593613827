#include "qai_reply.h"

#include <cf/json_shortcuts.h>
#include <cf/text.h>

void readDetail(const ICOJsonValue* object, std::string_view key, std::string& text) {
  if (const ICOJsonValue* found = cfFindJsonMember(object, key, JsonType::String)) text = found->obtainString();
}

void readDetail(const ICOJsonValue* object, std::string_view key, std::int64_t& count) {
  constexpr double kMost = 9e15;  // a double counts to there
  const ICOJsonValue* found = cfFindJsonMember(object, key, JsonType::Number);
  const double number = found == nullptr ? -1 : found->obtainNumber();
  if (number >= 0 && number <= kMost) count = static_cast<std::int64_t>(number);
}

void* QAIReply::obtainExtension(const char* id) noexcept {
  if (id != std::string_view(IQAIMessageDetails::kId)) return nullptr;
  try {
    if (response_ != nullptr) {
      read_(*response_->getJson(), details);
      identifyRequest(*response_, details);
      response_.reset();
    }
    return static_cast<IQAIMessageDetails*>(this);
  } catch (...) {
    return nullptr;  // for lack of memory
  }
}

void identifyRequest(const CMRestResourceResponse& response, ReplyDetails& details) {
  if (details.requestIdentifier.empty()) details.requestIdentifier = cfToUTF8(response.findHeader("x-request-id"));
}
