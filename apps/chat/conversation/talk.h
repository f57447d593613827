// A conversation, with a person at a terminal or line by line from a pipe, as its commands see it.
#pragma once

#include "conversation/answerer.h"
#include "conversation/background.h"
#include "conversation/token_count.h"
#include "conversation/turn.h"
#include "exit_code.h"

#include <optional>
#include <string>

struct Talk {
  MovableAnswerer& answerer;
  const Streams& streams;
  const TurnRunner& runTurn;
  const Background& background;
  bool isPiped = false;  // nobody can look at what a line did before the next is read
  TokenCount tokens = {};
  std::string lastQuestion = {};
  std::optional<Inquiry> nextQuestion = {};  // that a command asks
  ExitCode firstFailure = ExitCode::Fine;

  void note(ExitCode failure) {
    if (firstFailure == ExitCode::Fine) firstFailure = failure;
  }
};
