// Questions to the user that are answered by yes or no.
#pragma once

#include "conversation/turn.h"

#include <string>

/// Puts `question` to the user and reads a line; anything but a yes is a no.
bool askToAgree(const std::string& question, const Streams& streams);
