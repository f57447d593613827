// The turns of a conversation, kept as messages and as the text in which every request sends them again.
#pragma once

#include "qai_message.h"

#include <cf/json.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Fills `entry` with one text as it stands in a service's request bodies.
using ChatEntryWriter = void (*)(COJsonValue& entry, bool byAssistant, std::string_view text);

class ChatHistory {
 public:
  using Entries = std::vector<std::unique_ptr<QAIMessage>>;

  explicit ChatHistory(ChatEntryWriter write) : write_(write) {}

  /// Oldest first; each with one text section.
  const Entries& entries() const { return entries_; }

  /// The entries as a request has them: JSON values with commas between them. Each is written once, here, when it is
  /// first asked for: to escape a long history anew for each request would take longer than to send it. Lives until the
  /// next call after the history has changed; when it throws, nothing is written.
  std::string_view requestText() const;

  /// Makes room for this many entries.
  void reserve(std::size_t count) { entries_.reserve(count); }
  /// When it throws, nothing is appended.
  void append(std::uint32_t role, std::string text);
  /// Appends the user's entry and the assistant's, or throws and appends neither.
  void appendTurn(std::string question, std::string reply);

 private:
  ChatEntryWriter write_;
  Entries entries_;
  mutable std::string requestText_;
  mutable std::size_t written_ = 0;  // the number of entries in it
};
