#include "qai_chat_history.h"

#include <utility>

void ChatHistory::writeEntry(COJson& list, const QAIMessage& entry) const {
  write_(*list.addArrayItem(), entry.isByAssistant(), entry.firstText());
}

/// Adds the items of `list`, or throws and adds nothing.
void ChatHistory::addRequestText(const COJson& list) const {
  std::string items = list.obtainJsonString();
  items.pop_back();
  items.front() = ',';
  requestText_.append(items, requestText_.empty() ? 1 : 0);
}

void ChatHistory::append(std::uint32_t role, std::string text) {
  entries_.push_back(std::make_unique<QAIMessage>(role, std::move(text)));
}

std::string_view ChatHistory::requestText() const {
  if (written_ != entries_.size()) {
    COJson list;
    for (std::size_t i = written_; i < entries_.size(); ++i) writeEntry(list, *entries_[i]);
    addRequestText(list);
    written_ = entries_.size();
  }
  return requestText_;
}

void ChatHistory::appendTurn(std::string question, std::string reply) {
  auto asked = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::User), std::move(question));
  auto answered = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::Assistant), std::move(reply));
  requestText();  // what came before stands before
  COJson list;
  writeEntry(list, *asked);
  writeEntry(list, *answered);
  entries_.reserve(entries_.size() + 2);
  addRequestText(list);  // the last that can fail
  entries_.push_back(std::move(asked));
  entries_.push_back(std::move(answered));
  written_ = entries_.size();
}
