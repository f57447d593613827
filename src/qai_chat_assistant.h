// The assistant that four services share: it resends the conversation on every turn. What differs stands in the
// service's dialect.
#pragma once

#include "qai_assistant_base.h"
#include "qai_chat_dialect.h"
#include "qai_chat_session.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

/// Tells the time of a reply: seconds since 1970-01-01 UTC.
using MessageClock = std::int64_t (*)();
std::int64_t currentTime();

class QAIChatAssistant : public QAIAssistantBase {
 public:
  std::string setAssistantProperties(std::function<void(IQAIProperties*)> fill) override;
  IQAIProperties* obtainAssistantProperties() override;
  std::pair<IQAISession*, std::string> createSession() override;
  std::pair<IQAISession*, std::string> loadSession(std::string data) override;
  std::string destroySession(IQAISession* session) override;
  std::pair<IQAIMessage*, std::string> addMessage(IQAISession* session, std::string text) override;
  std::pair<IQAIMessage*, std::string> addMessageStreaming(IQAISession* session, std::string text,
                                                           const QAIStreamOptions& options, const Sink& sink) override;

 protected:
  /// Takes `pool` over, unless it throws.
  QAIChatAssistant(const ChatDialect& dialect, ICSHTTPPoolCenter* pool, const std::string& apiHost,
                   const std::string& apiKey, MessageClock clock);

 private:
  virtual std::unique_ptr<QAIChatSession> makeSession(QAIAssistantProperties& properties) const = 0;
  /// `session` as one of this service's; null when it is none.
  virtual QAIChatSession* asSessionOfService(IQAISession* session) const = 0;

  void adopt(QAIAssistantProperties& filled);
  /// What came of a turn: a reply, or null and an error text.
  using Answer = std::pair<std::unique_ptr<QAIReply>, std::string>;
  /// The host's wish for a reply as it comes.
  struct Streaming {
    QAIStreamOptions options;
    const Sink& sink;
  };

  std::pair<IQAIMessage*, std::string> takeTurn(IQAISession* session, std::string&& text, const Streaming* streaming);
  Answer exchange(QAIChatSession& session, const std::string& text, const Streaming* streaming);
  Answer receive(HTTPBody body, const Streaming& streaming);
  Answer readWhole(const HTTPResult& result) const;

  const ChatDialect& dialect_;
  MessageClock clock_;
};

/// The base of one service's assistant: binds the shared flow to the service's dialect and session class.
template <class Session, const ChatDialect& dialect>
class QAIChatAssistantOf : public QAIChatAssistant {
 public:
  QAIChatAssistantOf(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                     MessageClock clock = currentTime)
      : QAIChatAssistant(dialect, pool, apiHost, apiKey, clock) {}

 private:
  std::unique_ptr<QAIChatSession> makeSession(QAIAssistantProperties& properties) const override {
    return std::make_unique<Session>(properties);
  }
  QAIChatSession* asSessionOfService(IQAISession* session) const override { return dynamic_cast<Session*>(session); }
};
