// How an answer ended, for people.
#pragma once

#include "conversation/answer.h"

#include <string>

/// A sentence on how `answer`, which is no failure, ended; "" when it ended as answers do, with a text.
std::string explainEnd(const Answer& answer);
