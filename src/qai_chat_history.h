// The turns of a conversation, kept as messages and as the text in which every request sends them again.
#pragma once

#include "qai_message.h"

#include <cf/json.h>

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

  /// The entries as a request has them: JSON values with commas between them. Each is written once, when it is added:
  /// to escape a long history anew would take longer than to send it.
  std::string_view requestText() const { return requestText_; }

  /// For filling a new history; when it throws, the history can't be used any more.
  void append(std::uint32_t role, std::string text);
  /// Appends the user's entry and the assistant's, or throws and appends neither.
  void appendTurn(std::string question, std::string reply);

 private:
  void writeEntry(COJson& list, const QAIMessage& entry) const;
  void addRequestText(const COJson& list);

  ChatEntryWriter write_;
  Entries entries_;
  std::string requestText_;
};
