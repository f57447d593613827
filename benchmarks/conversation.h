// A conversation of a given length, held through the library and by hand with the same bytes.
#pragma once

#include "bare_client.h"

#include <qai.h>

#include <cstddef>
#include <memory>
#include <string>

struct FreeObject {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};

/// An assistant of the chat-completions service with a session of `entries` entries of 1 KiB, restored from text.
class Conversation {
 public:
  Conversation(const std::string& url, std::size_t entries);

  /// Each turn adds two entries. Takes the session back to its length when it has grown by more than a fiftieth; one
  /// of less than a hundred entries before each turn.
  void keepLength();
  /// One turn, its reply freed. Throws std::runtime_error when it fails.
  void turn();

 private:
  std::string saved_;
  std::size_t turnsPerRestore_;
  std::size_t turns_;
  std::unique_ptr<IQAIAssistant, FreeObject> assistant_;
  std::unique_ptr<IQAISession, FreeObject> session_;
};

/// The same turns by hand: the body lies ready, and only its end is written anew between turns.
class BareConversation {
 public:
  BareConversation(const std::string& url, std::size_t entries, const std::string& authoritiesFolder = "");

  void keepLength();
  void turn() { client_.post(body_); }
  std::size_t bodySize() const { return body_.size(); }

 private:
  BareClient client_;
  std::string body_;
  std::size_t turnsPerRestore_;
  std::size_t turns_;
  std::size_t historyEnd_;  // in the body
};
