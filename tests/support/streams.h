// Replies as services send them piece by piece.
#pragma once

#include "support/services.h"

#include <string>
#include <string_view>
#include <vector>

/// A reply of a chat service that came whole, as the stream that the service would have sent in its place: its texts in
/// pieces of a few characters. What the whole body leaves out of why a reply ended is put in.
std::string streamOf(BodyForm form, const std::string& wholeBody);

/// The same of the list of the messages that a run wrote, as the run's own stream. `run` is its JSON at the end, with
/// "id" and "status".
std::string streamOfRun(const std::string& run, const std::string& messageList);

/// The value of the stream's header field "Content-Type".
std::string_view streamTypeOf(BodyForm form);

/// `text` in pieces of a few characters of UTF-8; none for "".
std::vector<std::string> cutText(std::string_view text);
