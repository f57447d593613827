// What answers a conversation's questions, as the conversation sees it.
#pragma once

#include "conversation/answer.h"
#include "conversation/matter.h"
#include "exit_code.h"

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A service as a conversation knows it.
struct ProviderProfile {
  std::string_view name;            // as the user types it
  std::string_view title;           // for people
  bool keepsConversations = false;  // itself, so that no other service can take its turns over
};

/// Whether a conversation with `from` can go on with `to`, its turns in mind.
constexpr bool carriesTurns(const ProviderProfile& from, const ProviderProfile& to) {
  return from.name == to.name || (!from.keepsConversations && !to.keepsConversations);
}

/// What answers questions, each with the earlier ones of the conversation in mind.
class Answerer {
 public:
  virtual ~Answerer() = default;
  /// Begins a conversation; an earlier one is forgotten. @return an error text, and the earlier one goes on; "" on
  /// success.
  virtual std::string startConversation() = 0;
  virtual Answer ask(const Inquiry& inquiry) = 0;
  /// The same, and calls `show` with the text while it comes; the pieces joined are the answer's text. A failure may
  /// come after some of them.
  virtual Answer askInPieces(const Inquiry& inquiry, const ShowPiece& show) = 0;
  /// After a failed turn: what the program's end should tell of it.
  virtual ExitCode failureCode() const = 0;
};

/// An answerer that can hand the conversation over to another service.
class MovableAnswerer : public Answerer {
 public:
  /// All services that can answer, in the order of lists.
  virtual std::span<const ProviderProfile> providers() const = 0;
  /// The service that answers, one of those, and its model.
  virtual const ProviderProfile& provider() const = 0;
  virtual const std::string& model() const = 0;
  /// Has `provider`, one of those, answer from here on, with all turns so far in mind where they can be carried; an
  /// empty `model` is chosen from those that it lists.
  /// @return an error text, and everything is as before; "" on success.
  virtual std::string moveTo(const ProviderProfile& provider, const std::string& model) = 0;
  /// The models that the service lists, and an error text.
  virtual std::pair<std::vector<std::string>, std::string> listModels() = 0;
  /// Has the service answer with `model` from here on, which it may know without listing it; the conversation goes on.
  /// @return an error text, and everything is as before; "" on success.
  virtual std::string changeModel(const std::string& model) = 0;
};
