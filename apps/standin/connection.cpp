#include "connection.h"

#include "socket.h"

#include <openssl/err.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace standin {
namespace {

int withinInt(std::size_t size) noexcept { return static_cast<int>(std::min<std::size_t>(size, INT_MAX)); }

}  // namespace

TlsContext makeTlsContext(const std::string& certificateFile, const std::string& privateKeyFile) {
  TlsContext context(SSL_CTX_new(TLS_server_method()));
  if (!context || SSL_CTX_use_certificate_chain_file(context.get(), certificateFile.c_str()) != 1 ||
      SSL_CTX_use_PrivateKey_file(context.get(), privateKeyFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_check_private_key(context.get()) != 1) {
    ERR_clear_error();
    throw std::runtime_error("cannot use certificate " + certificateFile + " with key file " + privateKeyFile);
  }
  return context;
}

Connection::Connection(socket_t socket, SSL_CTX* tls) : socket_(socket), ssl_(tls == nullptr ? nullptr : SSL_new(tls)) {
  prepareSocket(socket_);
  if (ssl_) SSL_set_fd(ssl_.get(), static_cast<int>(socket_));  // all of a socket's value, on Windows, too
}

Connection::~Connection() {
  if (ssl_ && open_) SSL_shutdown(ssl_.get());
  ssl_.reset();
  closeSocket(socket_);
}

bool Connection::accept() {
  if (ssl_ && SSL_accept(ssl_.get()) != 1) open_ = false;
  ERR_clear_error();
  return open_;
}

void Connection::recordHead() {
  head_.clear();
  recording_ = true;
}

std::string Connection::takeHead() {
  recording_ = false;
  return std::move(head_);
}

void Connection::shutDown() noexcept { shutDownSocket(socket_); }

void Connection::hangUp() noexcept {
  open_ = false;
  shutDown();
}

void Connection::reset() noexcept {
  open_ = false;
  resetAtClose(socket_);
}

void Connection::awaitEnd() noexcept {
  // Past TLS: nothing that still comes matters but the end.
  while (receiveBytes(socket_, buffer_.data(), buffer_.size()) > 0) continue;
  open_ = false;
}

ssize_t Connection::read(char* ptr, std::size_t size) {
  if (begin_ == end_) {
    const ssize_t received = receive(buffer_.data(), buffer_.size());
    if (received <= 0) return received;
    begin_ = 0;
    end_ = static_cast<std::size_t>(received);
  }
  const std::size_t taken = std::min(size, end_ - begin_);
  std::memcpy(ptr, buffer_.data() + begin_, taken);
  begin_ += taken;
  if (recording_) head_.append(ptr, taken);
  return static_cast<ssize_t>(taken);
}

ssize_t Connection::write(const char* ptr, std::size_t size) {
  std::size_t sent = 0;
  while (open_ && sent < size) {
    const ssize_t step = send(ptr + sent, size - sent);
    if (step > 0) {
      sent += static_cast<std::size_t>(step);
    } else {
      open_ = false;
    }
  }
  return open_ ? static_cast<ssize_t>(size) : -1;
}

// The log has no use for the addresses; the HTTP library would only add them to the headers.
void Connection::get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const {}
void Connection::get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const {}

ssize_t Connection::receive(char* ptr, std::size_t size) {
  if (!open_) return -1;
  if (ssl_) return SSL_read(ssl_.get(), ptr, withinInt(size));
  return receiveBytes(socket_, ptr, size);
}

ssize_t Connection::send(const char* ptr, std::size_t size) {
  if (ssl_) return SSL_write(ssl_.get(), ptr, withinInt(size));
  return sendBytes(socket_, ptr, size);
}

}  // namespace standin
