// The way back through the history, entry by entry.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// From what is typed to ever older entries, and forth again.
class HistoryWalk {
 public:
  /// Borrows `entries`, oldest first.
  explicit HistoryWalk(const std::vector<std::string>& entries) noexcept : entries_(entries) {}

  /// With another line, before all entries.
  void startAnew() { back_ = 0; }
  /// The next older entry; null where there is none. Where the walk begins, `typed` is kept to come back to.
  const std::string* goBack(std::string typed);
  /// The next newer entry, and behind the newest what was typed; null there.
  const std::string* goForth();

 private:
  const std::vector<std::string>& entries_;
  std::size_t back_ = 0;  // how many entries
  std::string typed_;     // before an entry was shown
};
