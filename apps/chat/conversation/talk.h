// A conversation with a person at a terminal, as its commands see it.
#pragma once

#include "conversation/answerer.h"
#include "conversation/token_count.h"
#include "conversation/turn.h"

#include <optional>
#include <string>

struct Talk {
  MovableAnswerer& answerer;
  const Streams& streams;
  const TurnRunner& runTurn;
  TokenCount tokens = {};
  std::string lastQuestion = {};
  std::optional<std::string> nextQuestion = {};  // that a command asks
};
