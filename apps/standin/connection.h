// One accepted connection, as the HTTP library reads and writes it.
#pragma once

#include <httplib.h>
#include <openssl/ssl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>

namespace standin {

struct TlsContextDeleter {
  void operator()(SSL_CTX* context) const noexcept { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, TlsContextDeleter>;

/// A server's context for TLS. @throw std::runtime_error when the files can't be used.
TlsContext makeTlsContext(const std::string& certificateFile, const std::string& privateKeyFile);

/// Owns a socket, with TLS on it when it was given a context. Used by one thread, but for shutDown.
class Connection final : public httplib::Stream {
 public:
  Connection(socket_t socket, SSL_CTX* tls);
  ~Connection() override;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Does the TLS handshake, if there is one to do. @return false when it failed.
  bool accept();
  /// False once an end has been put to the connection from this side, or writing failed.
  bool isOpen() const noexcept { return open_; }

  /// Begins to record what is read; takeHead gives it and ends that.
  void recordHead();
  std::string takeHead();

  /// Ends all reading and writing at once, waiting calls included; from any thread.
  void shutDown() noexcept;
  /// Ends the connection in order, but without TLS's own goodbye.
  void hangUp() noexcept;
  /// Ends the connection by a TCP reset.
  void reset() noexcept;
  /// Waits until the client leaves or shutDown is called.
  void awaitEnd() noexcept;

  bool is_readable() const override { return open_; }
  bool is_writable() const override { return open_; }
  ssize_t read(char* ptr, std::size_t size) override;
  ssize_t write(const char* ptr, std::size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override { return socket_; }

 private:
  struct SslDeleter {
    void operator()(SSL* ssl) const noexcept { SSL_free(ssl); }
  };

  ssize_t receive(char* ptr, std::size_t size);
  ssize_t send(const char* ptr, std::size_t size);

  socket_t socket_;
  std::unique_ptr<SSL, SslDeleter> ssl_;
  bool open_ = true;
  bool recording_ = false;
  std::string head_;
  std::array<char, 4096> buffer_{};  // the HTTP library reads lines byte by byte
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace standin
