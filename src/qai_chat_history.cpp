#include "qai_chat_history.h"

#include <cf/json_shortcuts.h>

#include <utility>

void ChatHistory::append(std::uint32_t role, std::string text) {
  entries_.push_back(std::make_unique<QAIMessage>(role, std::move(text)));
}

void ChatHistory::appendTurn(std::string&& question, std::string&& reply) {
  auto asked = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::User), std::move(question));
  auto answered = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::Assistant), std::move(reply));
  // So that neither of the next two can fail; twice the room, so that few turns move the history.
  if (entries_.capacity() < entries_.size() + 2) entries_.reserve(2 * entries_.size() + 2);
  if (written_ == entries_.size() && asked->firstText() == question_ && requestText_.size() > writtenSize_) {
    ++written_;
    writtenSize_ = requestText_.size();
  }
  entries_.push_back(std::move(asked));
  entries_.push_back(std::move(answered));
}

std::string_view ChatHistory::writeRequestText(std::string_view question) {
  requestText_.resize(writtenSize_);
  question_ = question;
  makeRoom(question.size());
  for (; written_ < entries_.size(); ++written_) {
    writeEntry(entries_[written_]->isByAssistant(), entries_[written_]->firstText());
    writtenSize_ = requestText_.size();
  }
  writeEntry(false, question);
  return requestText_;
}

/// For what is still to be written, and a quarter more, so that the next turns need not move a long history.
void ChatHistory::makeRoom(std::size_t questionSize) {
  const std::size_t formSize = form_.assistantStart.size() + form_.end.size() + 1;  // with a comma
  std::size_t size = requestText_.size() + questionSize + formSize;
  for (std::size_t i = written_; i < entries_.size(); ++i) size += entries_[i]->firstText().size() + formSize;
  if (size > requestText_.capacity()) requestText_.reserve(size + size / 4);
}

void ChatHistory::writeEntry(bool byAssistant, std::string_view text) {
  if (!requestText_.empty()) requestText_ += ',';
  requestText_ += byAssistant ? form_.assistantStart : form_.userStart;
  cfAppendJsonCharacters(requestText_, text);
  requestText_ += form_.end;
}
