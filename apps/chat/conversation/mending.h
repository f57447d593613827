// The statements of an answer, run, and given back to who wrote them when one fails.
#pragma once

#include "conversation/workbench.h"

#include <functional>
#include <string>

/// Who is asked again, and how.
struct Mender {
  Answerer& answerer;
  const Streams& streams;
  const TurnRunner& runTurn;
  std::function<void(const Answer&)> note = {};  // gets the second answer; may be empty
};

/// Has `workbench` take the statements of `answer`. One that fails is asked for anew, once: told is what is wrong in
/// our words and names of the schema; the database's own words, which may quote a row, only when the user agrees to it.
/// @return whether none failed in the end or was refused; the user was told of those. @throw OutputError
bool runStatements(Workbench& workbench, const std::string& answer, const Mender& mender);
