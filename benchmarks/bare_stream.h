// A streamed reply by hand: events are found at their blank lines, and the JSON library's document of each gives its
// text.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

class BareStream {
 public:
  using Sink = std::function<void(std::string_view)>;
  explicit BareStream(Sink sink);
  ~BareStream();
  BareStream(const BareStream&) = delete;
  BareStream& operator=(const BareStream&) = delete;

  /// The next bytes of the body. Throws std::runtime_error when an event is no JSON.
  void receive(std::string_view part);
  /// The whole text, taken out for the next reply. Throws std::runtime_error when "[DONE]" has not come.
  std::string takeText();

 private:
  struct Parser;
  void read(std::string_view event);

  Sink sink_;
  std::unique_ptr<Parser> parser_;
  std::string begun_;  // an event whose end has not come
  std::string text_;
  bool isDone_ = false;
};
