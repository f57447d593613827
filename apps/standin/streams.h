// Replies that come event by event, cut on their way as networks cut them.
#pragma once

#include "reply.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// Makes the next event of a stream when its turn has come; nothing behind the last.
using EventSource = std::function<std::optional<std::string>()>;

/// A reply of these events. What is sent at once is of sizes that vary, and ends anywhere: inside an event, and inside
/// a character where there is one of several bytes.
Reply streamEvents(std::string contentType, EventSource events);

/// `text` in pieces of whole characters, of sizes that vary; one empty piece when it is empty.
std::vector<std::string> cutText(std::string_view text);

/// A text on its way, with the events around it.
struct TextStream {
  std::string contentType;
  std::vector<std::string> opening;
  std::string text;
  std::function<std::string(std::string_view piece, bool isLast)> write;  // the event of one piece
  std::function<std::vector<std::string>()> close;                        // makes the events behind it; may be empty
};
Reply streamText(TextStream stream);

/// One of server-sent events.
std::string writeEvent(std::string_view data);
std::string writeNamedEvent(std::string_view name, std::string_view data);

}  // namespace standin
