// One question and its answer.
#pragma once

#include "conversation/answerer.h"

#include <functional>
#include <iosfwd>
#include <string>

/// Answers go to `out` and nothing else does; all other texts go to `err`.
struct Streams {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  bool showsPieces = false;   // answers go out while they come
  bool tellsSeconds = false;  // of a wait, on `err`
};

/// Runs a turn and tells whether the user called it off. What it throws ends the conversation.
using TurnRunner = std::function<bool(const std::function<void()>& turn)>;

/// What came of a question.
struct Asked {
  Answer answer;
  bool calledOff = false;
};

/// Asks `inquiry` and shows the answer, but not why there is none. @throw OutputError
Asked askAndShow(Answerer& answerer, const Inquiry& inquiry, const Streams& streams, const TurnRunner& runTurn);
