// What has come of a streamed reply, whichever service sends it, and how a service's stream is read.
#pragma once

#include "qai_reply.h"

#include <cf/json.h>

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// One of the replies that a service may give to a turn.
struct StreamedChoice {
  enum class Author { Unknown, Assistant, Other };
  Author author = Author::Unknown;
  std::string text;
  bool hasEnded = false;
};

/// What a service that keeps the conversation makes a reply by.
struct StreamedRun {
  std::string identifier = {};
  std::string end = {};                              // how it ended for this side; "" while it has not
  std::int64_t createdTime = 0;                      // of the first message
  std::vector<std::size_t> partStarts = {};          // where the text of each part of a message begins
  std::set<std::string, std::less<>> messages = {};  // whose texts have come
  std::string message = {};                          // whose text came last
  double part = -1;                                  // and which part of it
};

/// Filled event by event.
class StreamedReply {
 public:
  /// The choice of which `item` of an event's list holds a part, made when it is first named: by its "index", or, as
  /// some servers leave that out, by its place in the list.
  StreamedChoice& obtainChoice(const ICOJsonValue& item, std::size_t place);
  /// Whether `choice` is the one that the details are of.
  bool isFirst(const StreamedChoice& choice) const noexcept;
  /// Text of a choice, whoever its author turns out to be.
  void append(StreamedChoice& choice, std::string_view text);

  /// Bytes of all texts.
  std::size_t textBytes() const noexcept { return textBytes_; }
  const std::map<std::size_t, StreamedChoice>& choices() const noexcept { return choices_; }
  /// Whether every choice that was begun has come to its end.
  bool hasEnded() const noexcept;
  /// The texts of all choices by the assistant, with nothing between them. Takes them out.
  std::string takeText();

  bool isInFormat = false;  // what holds a reply in the service's format has come
  bool isDone = false;      // the service's mark behind the reply has come
  std::string error;        // what the service says in place of a reply
  ReplyDetails details;
  StreamedRun run;

 private:
  std::map<std::size_t, StreamedChoice> choices_;
  std::size_t textBytes_ = 0;
};

/// How a service's stream is read.
struct StreamForm {
  enum class Framing { Events, Lines };  // server-sent events; a JSON value a line
  Framing framing = Framing::Events;
  std::string_view accept = "text/event-stream";  // the value of the header field
  /// Whether the service marks the end of a reply: by "[DONE]", or by what `read` takes for a mark.
  bool hasDoneMark = true;
  /// Reads an event; `type` is "" for one without a name.
  void (*read)(std::string_view type, const ICOJsonValue& event, StreamedReply& reply) = nullptr;
};
