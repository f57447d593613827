// What all assistants have in common: what they own, where requests go, what is said of failures, the list of models.
#pragma once

#include "qai_assistant_properties.h"
#include "qai_http.h"
#include "qai_reply_stream.h"
#include "qai_service_row.h"

#include <cf/rest.h>
#include <qai.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class QAIAssistantBase : public IQAIAssistant, public IQAIExtensible, public IQAIStreaming {
 public:
  QAIAssistantBase(const QAIAssistantBase&) = delete;
  QAIAssistantBase& operator=(const QAIAssistantBase&) = delete;

  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override;
  void* obtainExtension(const char* id) noexcept override;

 protected:
  /// Takes `pool` over, unless it throws. What a derived constructor does behind this one must not throw, since the
  /// pool would be freed though the caller still has it.
  QAIAssistantBase(const ServiceRow& row, ICSHTTPPoolCenter* pool, const std::string& apiHost,
                   const std::string& apiKey, std::unique_ptr<QAIAssistantProperties> properties);

  /// A reply with its JSON, or an error text.
  struct Reply {
    std::unique_ptr<CMRestResourceResponse> response;
    const ICOJsonValue* json = nullptr;  // the response's
    std::string error;
  };

  /// Takes `result`'s response over. `noJsonText` and `label` make the error of one that is no JSON.
  Reply readReply(const HTTPResult& result, std::string_view noJsonText, std::string_view label) const;

  /// What a user is told of a stream; "" when nothing is wrong with it. `result` is how its request ended. The labels
  /// are those of a reply that is no JSON, and of one that is not in the service's format.
  std::string streamError(QAIReplyStream& stream, const HTTPResult& result, std::string_view noJsonLabel,
                          std::string_view formatLabel) const;

  /// Hands the texts of a reply that came whole to the host as a stream's would be. The label is that of a reply that
  /// is not in the service's format. @return why the turn ends there; "" when it does not.
  std::string handOnWhole(const std::vector<std::string_view>& texts, const QAIStreamOptions& options, const Sink& sink,
                          std::string_view formatLabel) const;

  /// One of the library's own texts, translated, and the label behind it.
  std::string failure(std::string_view text, std::string_view label) const;

  /// `path` behind the API host.
  std::string address(std::string_view path) const;

  /// Why the key is not sent; "" when it is.
  std::string refuseKey() const;
  CMRestParams queryParams() const;

  /// A record whose API host is blank gets the service's own.
  void useDefaultHostForBlank(QAIAssistantProperties& properties) const;

  // What is declared last goes first: the host's pool, the session, the record, the key.
 private:
  const ServiceRow& row_;
  const std::string apiKey_;  // empty for a service without keys

 protected:
  const std::unique_ptr<QAIAssistantProperties> properties_;
  const std::unique_ptr<CMRestSession> restSession_;

 private:
  std::unique_ptr<ICSHTTPPoolCenter> pool_;
};
