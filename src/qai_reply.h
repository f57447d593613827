// What addMessage hands to the host: a message with what the service told beside its text.
#pragma once

#include "qai_message.h"

#include <cf/json.h>
#include <cf/rest.h>
#include <qai_extensions.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// As IQAIMessageDetails tells it.
struct ReplyDetails {
  std::string finishReason;
  std::string refusal;
  std::int64_t inputTokens = -1;
  std::int64_t outputTokens = -1;
  std::int64_t cachedTokens = -1;
  std::string model;
  std::string requestIdentifier;
};

/// Reads what a reply's JSON tells.
using ReadDetails = void(const ICOJsonValue& reply, ReplyDetails& details);

/// Writes the string `key` of `object`, which may be null, into `text` when there is one.
void readDetail(const ICOJsonValue* object, std::string_view key, std::string& text);
/// The same of a number that counts.
void readDetail(const ICOJsonValue* object, std::string_view key, std::int64_t& count);

/// The header field that services tell a request's identifier in, unless the body told it.
void identifyRequest(const CMRestResourceResponse& response, ReplyDetails& details);

class QAIReply final : public QAIMessage, public IQAIExtensible, public IQAIMessageDetails {
 public:
  using QAIMessage::QAIMessage;
  /// A reply that came whole. `read` gets its details out of `response` when they are first asked for, which most hosts
  /// never do.
  QAIReply(std::string&& text, std::unique_ptr<CMRestResourceResponse> response, ReadDetails* read)
      : QAIMessage(static_cast<std::uint32_t>(QAIMessageRole::Assistant), std::move(text)),
        response_(std::move(response)),
        read_(read) {}

  void* obtainExtension(const char* id) noexcept override;

  std::string_view obtainFinishReason() const noexcept override { return details.finishReason; }
  std::string_view obtainRefusal() const noexcept override { return details.refusal; }
  std::int64_t obtainInputTokens() const noexcept override { return details.inputTokens; }
  std::int64_t obtainOutputTokens() const noexcept override { return details.outputTokens; }
  std::int64_t obtainCachedTokens() const noexcept override { return details.cachedTokens; }
  std::string_view obtainModel() const noexcept override { return details.model; }
  std::string_view obtainRequestIdentifier() const noexcept override { return details.requestIdentifier; }

  ReplyDetails details;

 private:
  std::unique_ptr<CMRestResourceResponse> response_;  // until the details were read
  ReadDetails* read_ = nullptr;
};
