// A conversation of a given length, held through the library and by hand with the same bytes.
#pragma once

#include "bare_client.h"

#include <qai.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct FreeObject {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};

/// How long a conversation is. Each turn adds two entries, so it is taken back to its length after some turns.
struct Length {
  std::size_t entries;  // of 1 KiB each
  std::size_t turns;
  /// The last two entries come from a turn that nobody measures. The first turn of a restored session writes its
  /// history for the requests, which no later one does.
  bool isGoingOn = false;
  std::size_t tables = 0;  // of the database that every turn describes

  /// So few turns that the length grows by a fiftieth at most, or one.
  static Length about(std::size_t entries) { return {entries, 1 + entries / 100, entries != 0}; }
};

/// An assistant of the chat-completions service with a session restored from text.
class Conversation {
 public:
  Conversation(const std::string& url, Length length);

  /// Before each turn: restores the session anew when its turns are used up.
  void keepLength();
  void restore();
  /// One turn, its reply freed. Throws std::runtime_error when it fails.
  void turn();
  /// The same with the reply as it comes. Gives the size of its text.
  std::size_t streamTurn(const std::function<void(std::string_view)>& sink);

 private:
  Length length_;
  std::string saved_;
  std::size_t turns_;
  std::unique_ptr<IQAIAssistant, FreeObject> assistant_;
  std::unique_ptr<IQAISession, FreeObject> session_;
};

/// The same turns by hand: the body lies ready, and only its end is written anew between turns.
class BareConversation {
 public:
  /// With `receive` for replies that come as streams.
  BareConversation(const std::string& url, Length length, const std::string& authoritiesFolder = "",
                   std::function<void(std::string_view)> receive = nullptr);

  /// @return whether the conversation begins anew.
  bool keepLength();
  void turn() { client_.post(body_); }
  BareClient& client() { return client_; }
  std::size_t bodySize() const { return body_.size(); }

 private:
  BareClient client_;
  std::string body_;
  std::size_t turnsPerRestore_;
  std::size_t turns_;
  std::size_t historyEnd_;  // in the body
  std::string end_;         // of the body
};
