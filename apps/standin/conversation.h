// The conversation that comes with a request, and the answer to it.
#pragma once

#include "rules.h"

#include <cf/json.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

enum class Speaker { Instructions, User, Assistant, Other };

/// A role that a service knows.
struct Role {
  std::string_view name;
  Speaker speaker;
};

/// Null when `roles` has none of this name.
const Role* findRole(std::span<const Role> roles, std::string_view name);

struct Conversation {
  std::string instructions;
  std::vector<Turn> turns;  // the last one is the question, if it is the user's

  void add(Speaker speaker, std::string text);
};

/// An answer; no tokens are counted for it, only words.
struct Answer {
  std::string text;
  std::int64_t wordsAsked = 0;
  std::int64_t wordsCached = 0;  // of those asked: what the turn before was asked, too
  std::int64_t wordsAnswered = 0;
};

std::int64_t countWords(const std::string& text);

Answer answerConversation(const Conversation& conversation);

/// The text of member `key`; "" when there is none.
std::string_view textOf(const COJsonValue& object, std::string_view key);

/// Whether member `key` is there and true.
bool flagOf(const COJsonValue& object, std::string_view key);

/// Reads objects with "role" and "content"; those of roles that are not in `roles` are passed over.
Conversation readMessages(const COJsonValue& messages, std::span<const Role> roles);

}  // namespace standin
