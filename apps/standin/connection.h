// One accepted connection: its bytes, and the ends that can be put to it.
#pragma once

#include "socket.h"

#include <openssl/ssl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace standin {

struct TlsContextDeleter {
  void operator()(SSL_CTX* context) const noexcept { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, TlsContextDeleter>;

/// A server's context for TLS. @throw std::runtime_error when the files can't be used.
TlsContext makeTlsContext(const std::string& certificateFile, const std::string& privateKeyFile);

/// Owns a socket, with TLS on it when it was given a context. Used by one thread, but for shutDown.
class Connection {
 public:
  Connection(Socket socket, SSL_CTX* tls) noexcept;
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Does the TLS handshake, if there is one to do. @return false when it failed.
  bool accept() noexcept;
  /// False once the connection has ended, whichever side ended it.
  bool isOpen() const noexcept { return open_; }

  /// What has come and is not used yet; who uses it takes it out.
  std::string& unread() noexcept { return unread_; }
  /// Waits for more of it. @return false when the connection ended instead
  bool receiveMore();
  /// @return false when the connection has ended
  bool send(std::string_view bytes) noexcept;

  /// Ends all reading and writing at once, waiting calls included; from any thread.
  void shutDown() noexcept;
  /// Ends the connection in order: says so, and waits until the client leaves or shutDown is called. To close under a
  /// client that still sends would take what was sent last from it.
  void finish() noexcept;
  /// Ends the connection without TLS's own goodbye.
  void hangUp() noexcept;
  /// Ends the connection by a TCP reset.
  void reset() noexcept;
  /// Waits until the client leaves or shutDown is called.
  void awaitEnd() noexcept;

 private:
  struct SslDeleter {
    void operator()(SSL* ssl) const noexcept { SSL_free(ssl); }
  };

  const OwnedSocket socket_;
  const std::unique_ptr<SSL, SslDeleter> ssl_;
  bool open_;
  std::string unread_;
  std::array<char, 16384> buffer_{};
};

}  // namespace standin
