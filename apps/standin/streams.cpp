#include "streams.h"

#include <array>
#include <utility>

namespace standin {
namespace {

/// Gives sizes in turn, over and over.
template <std::size_t count>
class Sizes {
 public:
  explicit constexpr Sizes(const std::array<std::size_t, count>& sizes) : sizes_(sizes) {}
  std::size_t next() { return sizes_.at(next_++ % count); }

 private:
  std::array<std::size_t, count> sizes_;
  std::size_t next_ = 0;
};

constexpr Sizes kCharacters(std::array<std::size_t, 7>{1, 2, 3, 5, 8, 13, 21});
/// Of what is sent at once: from a single byte to several events.
constexpr Sizes kBytes(std::array<std::size_t, 11>{1, 40, 3, 170, 2, 61, 700, 5, 23, 320, 1460});

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }  // UTF-8

/// How many bytes `count` characters take at the beginning of `text`.
std::size_t sizeOf(std::size_t count, std::string_view text) {
  std::size_t size = 0;
  for (; count > 0 && size < text.size(); --count) {
    ++size;
    while (size < text.size() && continuesCharacter(text[size])) ++size;
  }
  return size;
}

/// Where `bytes` are cut so that they end inside a character; at their end when there is none of several bytes.
std::size_t oddEnd(std::string_view bytes) {
  std::size_t end = bytes.size();
  while (end > 1 && !continuesCharacter(bytes[end - 1])) --end;
  return end > 1 ? end - 1 : bytes.size();
}

EventSource listEvents(std::vector<std::string> events) {
  return [events = std::move(events), next = std::size_t{0}]() mutable -> std::optional<std::string> {
    if (next == events.size()) return std::nullopt;
    return std::move(events[next++]);
  };
}

}  // namespace

Reply streamEvents(std::string contentType, EventSource events) {
  const auto cut = [events = std::move(events), sizes = kBytes, made = std::string(),
                    sent = std::size_t{0}]() mutable -> std::optional<Piece> {
    const std::size_t size = sizes.next();
    while (made.size() - sent < size) {
      const std::optional<std::string> event = events();
      if (!event) break;
      made.erase(0, std::exchange(sent, 0)).append(*event);
    }
    if (sent == made.size()) return std::nullopt;
    Piece piece{.bytes = made.substr(sent, size)};
    piece.bytes.resize(oddEnd(piece.bytes));
    sent += piece.bytes.size();
    return piece;
  };
  return {.contentType = std::move(contentType), .pieces = cut};
}

std::vector<std::string> cutText(std::string_view text) {
  std::vector<std::string> pieces;
  auto sizes = kCharacters;
  do {
    const std::size_t size = sizeOf(sizes.next(), text);
    pieces.emplace_back(text.substr(0, size));
    text.remove_prefix(size);
  } while (!text.empty());
  return pieces;
}

Reply streamText(TextStream stream) {
  EventSource events = [now = listEvents(std::move(stream.opening)), pieces = cutText(stream.text),
                        write = std::move(stream.write), close = std::move(stream.close),
                        next = std::size_t{0}]() mutable -> std::optional<std::string> {
    if (auto event = now()) return event;
    if (next < pieces.size()) {
      const std::string& piece = pieces[next++];
      return write(piece, next == pieces.size());
    }
    if (!close) return std::nullopt;
    now = listEvents(std::exchange(close, nullptr)());
    return now();
  };
  return streamEvents(std::move(stream.contentType), std::move(events));
}

std::string writeEvent(std::string_view data) { return std::string("data: ").append(data).append("\n\n"); }

std::string writeNamedEvent(std::string_view name, std::string_view data) {
  return std::string("event: ").append(name).append("\n").append(writeEvent(data));
}

std::vector<Piece> cutBytes(std::string_view bytes) {
  const Reply reply = streamEvents("", listEvents({std::string(bytes)}));
  std::vector<Piece> pieces;
  while (auto piece = reply.pieces()) pieces.push_back(std::move(*piece));
  return pieces;
}

}  // namespace standin
