// What a service answers, word by word, so that the SQL in it is known.
#pragma once

#include "support/services.h"

#include <standin.h>

#include <string>
#include <string_view>

/// An answer with `sql` in a fence.
std::string fence(std::string_view sql);

/// The next question that `server` is asked as `service` gets `text` for an answer.
void scriptAnswer(standin::Server& server, const TestedService& service, std::string_view text);
/// The same for OpenAI.
void scriptAnswer(standin::Server& server, std::string_view text);

/// All that `server` was sent: paths, headers and bodies.
std::string everythingSent(const standin::Server& server);
