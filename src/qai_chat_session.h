// A conversation kept on the client, and its saved text.
#pragma once

#include "qai_assistant_properties.h"
#include "qai_chat_dialect.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

/// What the sessions of all chat services have in common, which is everything but their class.
class QAIChatSession : public IQAISession {
 public:
  /// `properties` is the assistant's own record, borrowed; it outlives the session.
  QAIChatSession(QAIAssistantProperties& properties, const ChatDialect& dialect);
  QAIChatSession(const QAIChatSession&) = delete;
  QAIChatSession& operator=(const QAIChatSession&) = delete;

  std::string obtainSessionData() const override;

  /// Fills a new session from a saved text and writes the text's settings into the record; what can't be used is
  /// skipped.
  /// @return false, with nothing changed, when `data` is no JSON.
  bool load(const std::string& data);

  void append(std::uint32_t role, std::string text) { history_.append(role, std::move(text)); }
  /// Appends the user's entry and the assistant's, or throws and appends neither.
  void appendTurn(std::string&& question, std::string&& reply) {
    history_.appendTurn(std::move(question), std::move(reply));
  }

  ChatHistory& history() { return history_; }
  const QAIAssistantProperties& properties() const { return properties_; }

 private:
  void loadHistory(const ICOJsonValue* messages);
  bool writeHistory(COJsonValue& messages) const;

  QAIAssistantProperties& properties_;
  const ChatDialect& dialect_;
  ChatHistory history_;
};

/// The base of one service's session.
template <const ChatDialect& dialect>
class QAIChatSessionOf : public QAIChatSession {
 public:
  explicit QAIChatSessionOf(QAIAssistantProperties& properties) : QAIChatSession(properties, dialect) {}
};
