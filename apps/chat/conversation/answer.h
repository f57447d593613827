// What comes of a question.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// What an answer cost, as far as the service told.
struct Tokens {
  std::optional<std::int64_t> in = {};      // of what was sent …
  std::optional<std::int64_t> out = {};     // … and of the answer
  std::optional<std::int64_t> cached = {};  // those in that the service still had from an earlier turn
};

/// A text, or an error for the user. No text in it holds a secret.
struct Answer {
  std::string text = {};
  std::string error = {};
  std::string finishReason = {};  // why it ended, in the service's word; "" when it told none
  std::string refusal = {};       // the model's words
  Tokens tokens = {};
};

/// Shows the next piece of an answer: whole characters, without secrets.
using ShowPiece = std::function<void(std::string_view piece)>;
