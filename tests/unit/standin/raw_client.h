// A client that sends exactly the bytes it is told to, cut where it is told to.
#pragma once

#include "support/sockets.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

class RawClient {
 public:
  explicit RawClient(int port) : socket_(sockets::connectToLoopback(port)) {
    EXPECT_NE(socket_, sockets::kNone) << "no connection to port " << port;
  }
  ~RawClient() { sockets::close(socket_); }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  void send(std::string_view bytes) {
    while (!bytes.empty()) {
      const long sent = sockets::send(socket_, bytes.data(), bytes.size());
      if (sent <= 0) {  // what came before can still be read
        reset_ = true;
        return;
      }
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  /// What comes up to and with `end`, or to the end of the connection when that is earlier.
  std::string readTo(std::string_view end) {
    while (unread_.find(end) == std::string::npos && receiveMore()) continue;
    const std::size_t at = unread_.find(end);
    const std::string read = unread_.substr(0, at == std::string::npos ? at : at + end.size());
    unread_.erase(0, read.size());
    return read;
  }
  std::string readHead() { return readTo("\r\n\r\n"); }

  /// All that comes until the server ends the connection.
  std::string readToEnd() {
    while (receiveMore()) continue;
    return std::exchange(unread_, {});
  }
  /// Whether the server has ended the connection otherwise than in order.
  bool wasReset() const noexcept { return reset_; }

 private:
  bool receiveMore() {
    std::array<char, 4096> buffer{};
    const long received = sockets::receive(socket_, buffer.data(), buffer.size());
    if (received > 0) unread_.append(buffer.data(), static_cast<std::size_t>(received));
    reset_ = reset_ || received < 0;
    return received > 0;
  }

  const sockets::Handle socket_;
  std::string unread_;
  bool reset_ = false;
};
