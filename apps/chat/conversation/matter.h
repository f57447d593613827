// What leaves this machine.
#pragma once

#include <cstddef>
#include <string>

/// What a request can hold.
enum class Matter { Instructions, EarlierTurns, Question, KindOfError, Row };
inline constexpr std::size_t kMatters = 5;

/// What is asked: the user's words, or `count` of what else `matter` names.
struct Inquiry {
  std::string text;
  Matter matter = Matter::Question;
  std::size_t count = 1;
};
