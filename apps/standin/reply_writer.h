// Writes replies to a connection.
#pragma once

#include "connection.h"
#include "reply.h"
#include "request_reader.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace standin {

/// A reply as it goes out.
struct HttpReply {
  int status = 200;
  Headers headers = {};  // but those that frame the body
  PieceSource body = {};
  std::optional<std::size_t> size = 0;  // of the body; not set: nobody knows, and it is sent in chunks
  bool cut = false;                     // the connection ends behind the last piece as if more were to come
  bool reset = false;                   // by a TCP reset, where it ends so
};

/// One piece, without a pause.
PieceSource wholeBody(std::string body);

/// Waits; false when there is no time to.
using Pause = std::function<bool(std::chrono::milliseconds)>;

/// Sends the reply to `arrival`, each piece as soon as it is made, and ends the connection where it is to end.
void sendReply(const HttpReply& reply, const Arrival& arrival, const Pause& pause, Connection& connection);

/// Tells the client what is wrong with what it sent, and ends the connection.
void sendRefusal(int status, Connection& connection);

}  // namespace standin
