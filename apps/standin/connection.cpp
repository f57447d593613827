#include "connection.h"

#include <openssl/err.h>

#include <algorithm>
#include <climits>
#include <stdexcept>

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

Connection::Connection(Socket socket, SSL_CTX* tls) noexcept
    : socket_(socket), ssl_(tls == nullptr ? nullptr : SSL_new(tls)), open_(tls == nullptr || ssl_ != nullptr) {}

Connection::~Connection() {
  if (ssl_ && open_) SSL_shutdown(ssl_.get());
}

bool Connection::accept() noexcept {
  if (!ssl_ || !open_) return open_;
  SSL_set_fd(ssl_.get(), static_cast<int>(socket_.get()));  // all of a socket's value, on Windows, too
  open_ = SSL_accept(ssl_.get()) == 1;
  ERR_clear_error();
  return open_;
}

bool Connection::receiveMore() {
  if (!open_) return false;
  const std::ptrdiff_t received = ssl_ ? SSL_read(ssl_.get(), buffer_.data(), withinInt(buffer_.size()))
                                       : receiveBytes(socket_.get(), buffer_.data(), buffer_.size());
  open_ = received > 0;
  if (open_) unread_.append(buffer_.data(), static_cast<std::size_t>(received));
  return open_;
}

bool Connection::send(std::string_view bytes) noexcept {
  while (open_ && !bytes.empty()) {
    const std::ptrdiff_t sent = ssl_ ? SSL_write(ssl_.get(), bytes.data(), withinInt(bytes.size()))
                                     : sendBytes(socket_.get(), bytes.data(), bytes.size());
    open_ = sent > 0;
    if (open_) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return open_;
}

void Connection::shutDown() noexcept { shutDownSocket(socket_.get()); }

void Connection::finish() noexcept {
  if (ssl_ && open_) SSL_shutdown(ssl_.get());
  endSending(socket_.get());
  awaitEnd();
}

void Connection::hangUp() noexcept {
  open_ = false;
  shutDown();
}

void Connection::reset() noexcept {
  open_ = false;
  resetAtClose(socket_.get());
}

void Connection::awaitEnd() noexcept {
  // Past TLS: nothing that still comes matters but the end.
  while (receiveBytes(socket_.get(), buffer_.data(), buffer_.size()) > 0) continue;
  open_ = false;
}

}  // namespace standin
