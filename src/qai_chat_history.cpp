#include "qai_chat_history.h"

#include <utility>

void ChatHistory::writeEntry(COJson& list, const QAIMessage& entry) const {
  write_(*list.addArrayItem(), entry.isByAssistant(), entry.firstText());
}

/// Adds the items of `list`, or throws and adds nothing.
void ChatHistory::addRequestText(const COJson& list) {
  std::string items = list.obtainJsonString();
  items.pop_back();
  items.front() = ',';
  requestText_.append(items, requestText_.empty() ? 1 : 0);
}

void ChatHistory::append(std::uint32_t role, std::string text) {
  entries_.push_back(std::make_unique<QAIMessage>(role, std::move(text)));
  COJson list;
  writeEntry(list, *entries_.back());
  addRequestText(list);
}

void ChatHistory::appendTurn(std::string question, std::string reply) {
  auto asked = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::User), std::move(question));
  auto answered = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::Assistant), std::move(reply));
  COJson list;
  writeEntry(list, *asked);
  writeEntry(list, *answered);
  entries_.reserve(entries_.size() + 2);
  addRequestText(list);  // the last that can fail
  entries_.push_back(std::move(asked));
  entries_.push_back(std::move(answered));
}
