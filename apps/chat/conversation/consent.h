// Questions to the user that are answered by yes or no.
#pragma once

#include "conversation/turn.h"
#include "terminal/line_editor.h"

#include <string>

/// Puts `question` to the user and reads a line; anything but a yes is a no.
bool askToAgree(const std::string& question, const Streams& streams);

/// The same with the line editor of a conversation. Ctrl-C and the end of the input mean no, and end nothing else.
bool askToAgree(const std::string& question, LineEditor& editor, std::ostream& err);
