// What was asked before.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Where questions are kept from one run to the next.
class HistoryStore {
 public:
  virtual ~HistoryStore() = default;
  /// All that is kept, oldest first.
  virtual std::vector<std::string> load() = 0;
  /// Keeps `entry` behind what is kept by then. @return "", or in words why it is not kept
  virtual std::string append(const std::string& entry) = 0;
};

/// The questions of this run and, where there is a store, of earlier ones.
class QuestionHistory {
 public:
  using Complain = std::function<void(const std::string& sentence)>;

  /// Nothing is stored.
  QuestionHistory() = default;
  /// Borrows `store`. What holds one of `secrets` is not stored. `complain` is told once when nothing can be stored.
  QuestionHistory(HistoryStore& store, std::vector<std::string> secrets, Complain complain);

  /// Oldest first.
  const std::vector<std::string>& entries() const { return entries_; }
  /// A text that begins with a blank is not kept, nor one that is the last one again.
  void add(const std::string& text);

 private:
  bool holdsSecret(std::string_view text) const;

  HistoryStore* store_ = nullptr;
  std::vector<std::string> secrets_;
  Complain complain_;
  std::vector<std::string> entries_;
};

/// The most entries, and bytes of a file, that a store keeps; the oldest go first.
inline constexpr std::size_t kMostEntries = 1000;
inline constexpr std::size_t kMostHistoryBytes = std::size_t{1} << 20U;

/// Entries as a file holds them: each on a line of its own.
std::string writeEntries(const std::vector<std::string>& entries);
std::vector<std::string> readEntries(std::string_view text);

/// `entries` with `entry` behind them, unless it is the last one already, in the bounds above.
std::vector<std::string> withEntry(std::vector<std::string> entries, const std::string& entry);
