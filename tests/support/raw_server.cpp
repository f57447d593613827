#include "support/raw_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <stdexcept>

struct RawServer::Connection {
  explicit Connection(int socketToServe) : socket(socketToServe) {}
  ~Connection() { close(socket); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  long receive(char* data, std::size_t size) const {
    return tls == nullptr ? recv(socket, data, size, 0) : SSL_read(tls.get(), data, static_cast<int>(size));
  }
  bool sendAll(std::string_view bytes) const {
    while (!bytes.empty()) {
      const long sent = tls == nullptr ? send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL)
                                       : SSL_write(tls.get(), bytes.data(), static_cast<int>(bytes.size()));
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  const int socket;
  std::unique_ptr<SSL, decltype(&SSL_free)> tls{nullptr, &SSL_free};
  std::string unread;
  std::thread thread;
};

namespace {

constexpr auto kPatience = std::chrono::seconds(10);

std::size_t findBodySize(std::string_view head) {
  constexpr std::string_view kField = "\r\nContent-Length: ";
  const auto place = head.find(kField);
  std::size_t size = 0;
  if (place != std::string_view::npos) {
    const char* digits = head.data() + place + kField.size();
    std::from_chars(digits, head.data() + head.size(), size);
  }
  return size;
}

// The size of the whole request at the start of `text`, or 0 when it is not all there.
std::size_t findRequestSize(std::string_view text) {
  const auto head = text.find("\r\n\r\n");
  if (head == std::string_view::npos) return 0;
  const std::size_t size = head + 4 + findBodySize(text.substr(0, head + 2));
  return size <= text.size() ? size : 0;
}

// Disconnecting makes the kernel send RST at once, while the descriptor stays ours to close.
void reset(int socket) {
  sockaddr nowhere{};
  nowhere.sa_family = AF_UNSPEC;
  connect(socket, &nowhere, sizeof nowhere);
}

sockaddr* toSocketAddress(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

}  // namespace

std::string raw::reply(int status, std::string_view body, std::string_view furtherFields) {
  return "HTTP/1.1 " + std::to_string(status) + " Whatever\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
         std::string(furtherFields) + "\r\n" + std::string(body);
}

RawServer::RawServer(std::vector<raw::Script> scripts, TLSContext tls, Greeting greeting)
    : scripts_(std::move(scripts)), tls_(std::move(tls)), greeting_(greeting) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listener_ < 0 || bind(listener_, toSocketAddress(address), size) != 0 || listen(listener_, 64) != 0 ||
      getsockname(listener_, toSocketAddress(address), &size) != 0) {
    throw std::runtime_error("The test server can't listen");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { acceptAll(); });
}

RawServer::~RawServer() {
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  close(listener_);
  for (const auto& connection : connections_) shutdown(connection->socket, SHUT_RDWR);
  for (const auto& connection : connections_) connection->thread.join();
}

std::string RawServer::getURL() const {
  const bool secure = tls_ != nullptr && greeting_ == Greeting::TLS;
  return (secure ? "https://localhost:" : "http://127.0.0.1:") + std::to_string(port_);
}

std::vector<std::string> RawServer::getRequests() const {
  const std::lock_guard lock(mutex_);
  return log_.requests;
}

std::size_t RawServer::getConnections() const {
  const std::lock_guard lock(mutex_);
  return log_.connections;
}

std::size_t RawServer::getHandshakes() const {
  const std::lock_guard lock(mutex_);
  return log_.handshakes;
}

std::size_t RawServer::getResumedHandshakes() const {
  const std::lock_guard lock(mutex_);
  return log_.resumed;
}

bool RawServer::waitForRequests(std::size_t count) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return log_.requests.size() >= count; });
}

bool RawServer::waitForEnds(std::size_t count) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return log_.ends >= count; });
}

void RawServer::record(const std::function<void(Log&)>& change) {
  const std::lock_guard lock(mutex_);
  change(log_);
  changed_.notify_all();
}

void RawServer::acceptAll() {
  for (;;) {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    // Else a second small write waits for the client's delayed acknowledgement, 40 ms.
    const int yes = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    record([](Log& log) { ++log.connections; });
    Connection& connection = *connections_.emplace_back(std::make_unique<Connection>(socket));
    connection.thread = std::thread([this, &connection] { serve(connection); });
  }
}

void RawServer::serve(Connection& connection) {
  sigset_t signals;  // OpenSSL's writes to a client that went
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  if (tls_ == nullptr || greeting_ == Greeting::None || startTLS(connection)) converse(connection);
  shutdown(connection.socket, SHUT_RDWR);
  record([](Log& log) { ++log.ends; });
}

bool RawServer::startTLS(Connection& connection) {
  connection.tls.reset(SSL_new(tls_.get()));
  SSL_set_fd(connection.tls.get(), connection.socket);
  if (SSL_accept(connection.tls.get()) != 1) return false;
  const bool resumed = SSL_session_reused(connection.tls.get()) == 1;
  record([resumed](Log& log) {
    ++log.handshakes;
    if (resumed) ++log.resumed;
  });
  return true;
}

void RawServer::converse(Connection& connection) {
  char buffer[65536];
  for (;;) {
    const std::size_t size = findRequestSize(connection.unread);
    if (size == 0) {
      const long received = connection.receive(buffer, sizeof buffer);
      if (received <= 0) return;
      connection.unread.append(buffer, static_cast<std::size_t>(received));
      if (connection.unread.size() >= longestRequest_) return reset(connection.socket);
      continue;
    }
    const raw::Script script = takeScript(connection.unread.substr(0, size));
    connection.unread.erase(0, size);
    const auto goesOn = [&](const raw::Step& step) { return perform(connection, step); };
    if (!std::all_of(script.begin(), script.end(), goesOn)) return;
  }
}

raw::Script RawServer::takeScript(std::string request) {
  std::size_t number = 0;
  record([&](Log& log) {
    number = log.requests.size();
    log.requests.push_back(std::move(request));
  });
  return scripts_[std::min(number, scripts_.size() - 1)];
}

// Whether the connection goes on after the step.
bool RawServer::perform(Connection& connection, const raw::Step& step) {
  if (const auto* bytes = std::get_if<raw::Send>(&step)) return connection.sendAll(bytes->bytes);
  if (const auto* call = std::get_if<raw::Call>(&step)) return call->action(), true;
  if (std::holds_alternative<raw::StartTLS>(step)) return startTLS(connection);
  if (const auto* endless = std::get_if<raw::SendForever>(&step)) {
    while (connection.sendAll(endless->bytes)) continue;
  }
  if (std::holds_alternative<raw::Stall>(step)) {
    char ignored[4096];
    while (connection.receive(ignored, sizeof ignored) > 0) continue;
  }
  if (std::holds_alternative<raw::Close>(step) && connection.tls != nullptr) SSL_shutdown(connection.tls.get());
  if (std::holds_alternative<raw::Reset>(step)) {
    reset(connection.socket);
  }
  return false;
}
