// The turns of a conversation, kept as messages and as the text in which every request sends them again.
#pragma once

#include "qai_message.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// An entry as it stands in a service's request bodies: a start, what stands in the text's JSON string, and the end.
struct ChatEntryForm {
  std::string_view userStart;
  std::string_view assistantStart;
  std::string_view end;
};

class ChatHistory {
 public:
  using Entries = std::vector<std::unique_ptr<QAIMessage>>;

  /// `form` outlives the history.
  explicit ChatHistory(const ChatEntryForm& form) : form_(form) {}

  /// Oldest first; each with one text section.
  const Entries& entries() const { return entries_; }

  /// The entries and then `question`, the user's, as a request has them: JSON values with commas between them. Each
  /// entry is written once, when it is first needed: to escape a long history anew for each request would take longer
  /// than to send it. Changes what is kept of that, not the entries. Lives until the next call.
  std::string_view writeRequestText(std::string_view question);

  /// When it throws, nothing is appended.
  void append(std::uint32_t role, std::string text);
  /// Appends the user's entry and the assistant's, or throws and appends neither. What was written of the question as
  /// the last request's stays.
  void appendTurn(std::string&& question, std::string&& reply);

 private:
  void makeRoom(std::size_t questionSize);
  void writeEntry(bool byAssistant, std::string_view text);

  const ChatEntryForm& form_;
  Entries entries_;
  std::string requestText_;
  std::size_t written_ = 0;      // the number of entries in it
  std::size_t writtenSize_ = 0;  // and their bytes; what follows is the question
  std::string question_;         // of the last request
};
