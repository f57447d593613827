#include "support/raw_server.h"

#include "support/sockets.h"

#include <openssl/ssl.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

struct RawServer::Connection {
  explicit Connection(sockets::Handle socketToServe) : socket(socketToServe) {}
  ~Connection() { sockets::close(socket); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // These two by the connection's own thread.
  long receive(char* data, std::size_t size) const {
    return tls == nullptr ? sockets::receive(socket, data, size) : SSL_read(tls.get(), data, static_cast<int>(size));
  }
  bool sendAll(std::string_view bytes) const {
    while (!bytes.empty()) {
      const long sent = tls == nullptr ? sockets::send(socket, bytes.data(), bytes.size())
                                       : SSL_write(tls.get(), bytes.data(), static_cast<int>(bytes.size()));
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  // These two by any thread.
  void shutDown() {
    const std::lock_guard lock(mutex);
    if (socket != sockets::kNone) sockets::shutDown(socket);
  }
  void reset() {
    const std::lock_guard lock(mutex);
    socket = sockets::reset(socket);
  }

  sockets::Handle socket;  // changed by its own thread alone, under the mutex
  std::mutex mutex;
  std::unique_ptr<SSL, decltype(&SSL_free)> tls{nullptr, &SSL_free};
  std::string unread;
  std::atomic<bool> over{false};
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

}  // namespace

std::string raw::reply(int status, std::string_view body, std::string_view furtherFields) {
  return "HTTP/1.1 " + std::to_string(status) + " Whatever\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
         std::string(furtherFields) + "\r\n" + std::string(body);
}

RawServer::RawServer(std::vector<raw::Script> scripts, TLSContext tls, Greeting greeting)
    : RawServer(
          [scripts = std::move(scripts)](const std::string& /*request*/, std::size_t number) {
            return scripts[std::min(number, scripts.size() - 1)];
          },
          std::move(tls), greeting) {}

RawServer::RawServer(raw::Answer answer, TLSContext tls, Greeting greeting)
    : answer_(std::move(answer)),
      tls_(std::move(tls)),
      greeting_(greeting),
      listener_(sockets::listenOnLoopback()),
      port_(sockets::getPort(listener_)) {
  acceptor_ = std::thread([this] { acceptAll(); });
}

RawServer::~RawServer() {
  stopListening();
  for (const auto& connection : connections_) connection->shutDown();
  for (const auto& connection : connections_) connection->thread.join();
}

void RawServer::stopListening() {
  if (stopping_.exchange(true)) return;
  sockets::wakeAccept(listener_);
  acceptor_.join();
  sockets::close(listener_);
}

std::string RawServer::getURL() const {
  const bool secure = tls_ != nullptr && greeting_ == Greeting::TLS;
  return (secure ? "https://localhost:" : "http://127.0.0.1:") + std::to_string(port_);
}

std::vector<std::string> RawServer::getRequests() const {
  const std::lock_guard lock(mutex_);
  return log_.requests;
}

std::size_t RawServer::getReceivedBytes() const {
  const std::lock_guard lock(mutex_);
  return log_.bytes;
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
  return changed_.wait_for(lock, kPatience, [&] { return log_.served >= count; });
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
    const sockets::Handle socket = sockets::accept(listener_);
    if (stopping_) return sockets::close(socket);
    if (socket == sockets::kNone) {  // a test may have taken the descriptors
      std::this_thread::yield();
      continue;
    }
    record([](Log& log) { ++log.connections; });
    dropEnded();
    Connection& connection = *connections_.emplace_back(std::make_unique<Connection>(socket));
    connection.thread = std::thread([this, &connection] { serve(connection); });
  }
}

// A test of thousands of connections would else run out of threads.
void RawServer::dropEnded() {
  std::erase_if(connections_, [](const auto& connection) {
    if (!connection->over) return false;
    connection->thread.join();
    return true;
  });
}

void RawServer::serve(Connection& connection) {
  sockets::blockBrokenPipeSignal();  // of OpenSSL's writes to a client that went
  if (tls_ == nullptr || greeting_ == Greeting::None || startTLS(connection)) converse(connection);
  connection.shutDown();
  record([](Log& log) { ++log.ends; });
  connection.over = true;
}

bool RawServer::startTLS(Connection& connection) {
  connection.tls.reset(SSL_new(tls_.get()));
  SSL_set_fd(connection.tls.get(), static_cast<int>(connection.socket));
  if (SSL_accept(connection.tls.get()) != 1) return false;
  const bool resumed = SSL_session_reused(connection.tls.get()) == 1;
  record([resumed](Log& log) {
    ++log.handshakes;
    if (resumed) ++log.resumed;
  });
  return true;
}

void RawServer::converse(Connection& connection) {
  std::array<char, 65536> buffer{};
  for (;;) {
    const std::size_t size = findRequestSize(connection.unread);
    if (size == 0) {
      const long received = connection.receive(buffer.data(), buffer.size());
      if (received <= 0) return;
      connection.unread.append(buffer.data(), static_cast<std::size_t>(received));
      record([received](Log& log) { log.bytes += static_cast<std::size_t>(received); });
      if (connection.unread.size() >= longestRequest_) return connection.reset();
      continue;
    }
    const raw::Script script = takeScript(connection.unread.substr(0, size));
    connection.unread.erase(0, size);
    const auto goesOn = [&](const raw::Step& step) { return perform(connection, step); };
    if (!std::all_of(script.begin(), script.end(), goesOn)) return;
  }
}

raw::Script RawServer::takeScript(const std::string& request) {
  std::size_t number = 0;
  record([&](Log& log) {
    number = log.served++;
    if (keepsRequests_) log.requests.push_back(request);
  });
  return answer_(request, number);
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
    std::array<char, 4096> ignored{};
    while (connection.receive(ignored.data(), ignored.size()) > 0) continue;
  }
  if (std::holds_alternative<raw::Close>(step) && connection.tls != nullptr) SSL_shutdown(connection.tls.get());
  if (std::holds_alternative<raw::Reset>(step)) connection.reset();
  return false;
}
