#include "qai_chat_history.h"

#include <utility>

void ChatHistory::writeEntry(std::string& text, const QAIMessage& entry) const {
  COJson json;
  write_(json, entry.isByAssistant(), entry.firstText());
  if (!requestText_.empty() || !text.empty()) text += ',';
  text += json.obtainJsonString();
}

void ChatHistory::append(std::uint32_t role, std::string text) {
  auto entry = std::make_unique<QAIMessage>(role, std::move(text));
  writeEntry(requestText_, *entry);
  entries_.push_back(std::move(entry));
}

void ChatHistory::appendTurn(std::string question, std::string reply) {
  auto asked = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::User), std::move(question));
  auto answered = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::Assistant), std::move(reply));
  std::string written;
  writeEntry(written, *asked);
  writeEntry(written, *answered);
  entries_.reserve(entries_.size() + 2);
  requestText_ += written;  // the last that can fail
  entries_.push_back(std::move(asked));
  entries_.push_back(std::move(answered));
}
