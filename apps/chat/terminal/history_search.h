// The search that Ctrl-R begins.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Looks for a text that grows letter by letter, from the newest entry back.
class HistorySearch {
 public:
  /// Borrows `entries`, oldest first.
  explicit HistorySearch(const std::vector<std::string>& entries) noexcept
      : entries_(entries), entry_(entries.size()) {}

  /// One more character, UTF-8.
  void lengthen(std::string_view character);
  /// Without its last character, from the newest entry again.
  void shorten();
  /// To the next older entry that holds the text.
  void goOn();

  /// The entry that holds the text; null as long as none was looked for. One that does not is still the last that did.
  const std::string* found() const { return entry_ < entries_.size() ? &entries_[entry_] : nullptr; }
  /// Where the text begins in it, in bytes.
  std::size_t at() const { return at_; }
  /// In place of the prompt.
  std::string describe() const;

 private:
  /// From the entry before `end` back.
  void look(std::size_t end);

  const std::vector<std::string>& entries_;
  std::string text_;
  std::size_t entry_;
  std::size_t at_ = 0;
  bool fails_ = false;
};
