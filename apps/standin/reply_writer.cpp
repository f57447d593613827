#include "reply_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

namespace standin {
namespace {

struct Reason {
  int status;
  std::string_view text;
};
constexpr std::array kReasons{
    Reason{200, "OK"},
    Reason{400, "Bad Request"},
    Reason{401, "Unauthorized"},
    Reason{403, "Forbidden"},
    Reason{404, "Not Found"},
    Reason{405, "Method Not Allowed"},
    Reason{413, "Content Too Large"},
    Reason{417, "Expectation Failed"},
    Reason{429, "Too Many Requests"},
    Reason{431, "Request Header Fields Too Large"},
    Reason{500, "Internal Server Error"},
    Reason{501, "Not Implemented"},
    Reason{503, "Service Unavailable"},
    Reason{505, "HTTP Version Not Supported"},
};

/// "" where the table has none: a reason may be empty, and clients go by the number.
std::string_view reasonOf(int status) {
  const auto found =
      std::find_if(kReasons.begin(), kReasons.end(), [=](const Reason& reason) { return reason.status == status; });
  return found == kReasons.end() ? std::string_view() : found->text;
}

/// Replies of these kinds end with their head, whatever it says.
bool mayHaveBody(int status) { return status >= 200 && status != 204 && status != 304; }

enum class Framing { None, Size, Chunks, End };

Framing chooseFraming(const HttpReply& reply, const Arrival& arrival) {
  if (!mayHaveBody(reply.status)) return Framing::None;
  if (reply.size) return Framing::Size;
  return arrival.takesChunks ? Framing::Chunks : Framing::End;
}

void addHeader(std::string& head, std::string_view name, std::string_view value) {
  head.append(name).append(": ").append(value).append("\r\n");
}

std::string writeHead(const HttpReply& reply, Framing framing, const Arrival& arrival) {
  std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " + std::string(reasonOf(reply.status)) + "\r\n";
  for (const auto& [name, value] : reply.headers) addHeader(head, name, value);
  if (framing == Framing::Size) addHeader(head, "Content-Length", std::to_string(*reply.size));
  if (framing == Framing::Chunks) addHeader(head, "Transfer-Encoding", "chunked");
  if (arrival.isLast || framing == Framing::End) {
    addHeader(head, "Connection", "close");
  } else if (!arrival.takesChunks) {
    addHeader(head, "Connection", "keep-alive");  // which HTTP/1.0 does not take for granted
  }
  return head + "\r\n";
}

std::string asChunk(std::string_view bytes) {
  std::array<char, 16> digits{};
  char* end = std::to_chars(digits.data(), digits.data() + digits.size(), bytes.size(), 16).ptr;
  std::string chunk(digits.data(), end);
  return chunk.append("\r\n").append(bytes).append("\r\n");
}

/// @param unsent what goes ahead of the first piece
/// @return false when it did not go out whole
bool sendBody(std::string unsent, const HttpReply& reply, Framing framing, const Pause& pause, Connection& connection) {
  while (const std::optional<Piece> piece = reply.body()) {
    if (piece->pause > std::chrono::milliseconds(0)) {
      if (!connection.send(std::exchange(unsent, {})) || !pause(piece->pause)) return false;
    }
    if (piece->bytes.empty()) continue;  // in chunks that would be the end
    unsent += framing == Framing::Chunks ? asChunk(piece->bytes) : piece->bytes;
    if (!connection.send(std::exchange(unsent, {}))) return false;
  }
  if (framing == Framing::Chunks && !reply.cut) unsent += "0\r\n\r\n";
  return connection.send(unsent) && !reply.cut;
}

}  // namespace

PieceSource wholeBody(std::string body) {
  return
      [rest = std::optional(Piece{.bytes = std::move(body)})]() mutable { return std::exchange(rest, std::nullopt); };
}

void sendReply(const HttpReply& reply, const Arrival& arrival, const Pause& pause, Connection& connection) {
  const Framing framing = chooseFraming(reply, arrival);
  std::string head = writeHead(reply, framing, arrival);
  const bool bodiless = framing == Framing::None || arrival.request.method == "HEAD";
  const bool whole = bodiless ? connection.send(head) : sendBody(std::move(head), reply, framing, pause, connection);
  if (!whole) return reply.reset ? connection.reset() : connection.hangUp();
  if (arrival.isLast || framing == Framing::End) connection.finish();
}

void sendRefusal(int status, Connection& connection) {
  Arrival last;
  last.isLast = true;
  sendReply({.status = status, .body = wholeBody("")}, last, {}, connection);
}

}  // namespace standin
