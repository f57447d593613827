// Questions in, answers out: once, line by line from a pipe, or with a person at a terminal.
#pragma once

#include "conversation/answerer.h"
#include "conversation/background.h"
#include "conversation/turn.h"
#include "exit_code.h"
#include "terminal/questions.h"

#include <string>

/// Each of these needs a conversation that was begun. @throw OutputError
ExitCode answerOnce(Answerer& answerer, const std::string& question, Streams streams, const TurnRunner& runTurn,
                    Workbench* workbench = nullptr);
/// Every line that is not blank is a question, or a command that ends nothing but the conversation. A failed turn does
/// not end it; the first failure is the result.
ExitCode answerLines(MovableAnswerer& answerer, Streams streams, const TurnRunner& runTurn,
                     const Background& background = {});
/// Of `questions`, to their end or to a command that ends it.
void converse(MovableAnswerer& answerer, Questions& questions, Streams streams, const TurnRunner& runTurn,
              const Background& background = {});
