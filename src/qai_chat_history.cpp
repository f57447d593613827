#include "qai_chat_history.h"

#include <utility>

void ChatHistory::append(std::uint32_t role, std::string text) {
  entries_.push_back(std::make_unique<QAIMessage>(role, std::move(text)));
}

void ChatHistory::appendTurn(std::string question, std::string reply) {
  auto asked = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::User), std::move(question));
  auto answered = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::Assistant), std::move(reply));
  entries_.reserve(entries_.size() + 2);  // so that neither of the next two can fail
  entries_.push_back(std::move(asked));
  entries_.push_back(std::move(answered));
}

std::string_view ChatHistory::requestText() const {
  if (written_ == entries_.size()) return requestText_;
  COJson list;
  for (std::size_t i = written_; i < entries_.size(); ++i) {
    write_(*list.addArrayItem(), entries_[i]->isByAssistant(), entries_[i]->firstText());
  }
  std::string items = list.obtainJsonString();
  items.pop_back();
  items.front() = ',';
  const std::size_t size = requestText_.size() + items.size();
  if (size > requestText_.capacity()) requestText_.reserve(size + size / 4);  // the next turns need not move it all
  requestText_.append(items, requestText_.empty() ? 1 : 0);
  written_ = entries_.size();
  return requestText_;
}
