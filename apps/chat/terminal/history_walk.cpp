#include "terminal/history_walk.h"

#include <utility>

const std::string* HistoryWalk::goBack(std::string typed) {
  if (back_ == entries_.size()) return nullptr;
  if (back_ == 0) typed_ = std::move(typed);
  ++back_;
  return &entries_[entries_.size() - back_];
}

const std::string* HistoryWalk::goForth() {
  if (back_ == 0) return nullptr;
  --back_;
  return back_ == 0 ? &typed_ : &entries_[entries_.size() - back_];
}
