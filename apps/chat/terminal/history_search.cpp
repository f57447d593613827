#include "terminal/history_search.h"

void HistorySearch::lengthen(std::string_view character) {
  text_ += character;
  look(entry_ < entries_.size() ? entry_ + 1 : entry_);
}

void HistorySearch::shorten() {
  const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
  while (!text_.empty() && isContinuation(text_.back())) text_.pop_back();
  if (!text_.empty()) text_.pop_back();
  look(entries_.size());
}

void HistorySearch::goOn() { look(entry_); }

void HistorySearch::look(std::size_t end) {
  fails_ = false;
  if (text_.empty()) return;
  for (std::size_t i = end; i > 0; --i) {
    const std::size_t at = entries_[i - 1].find(text_);
    if (at == std::string::npos) continue;
    entry_ = i - 1;
    at_ = at;
    return;
  }
  fails_ = true;
}

std::string HistorySearch::describe() const { return (fails_ ? "(no more) '" : "(search) '") + text_ + "': "; }
