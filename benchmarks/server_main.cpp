// bench_server [CERTIFICATE.pem KEY.pem]: answers every request on the loopback with the same short chat reply, as fast
// as is simple. One that accepts a stream gets one: 10,000 pieces at once, or, at a path that begins with "/paced/", a
// few that come one by one and say when they were sent. A process of its own, so that the client's processor time and
// memory are measured alone.
//
// Prints its port. Then obeys its standard input, a word a line: "stats" prints the numbers of connections, handshakes,
// resumed ones, requests and bytes of bodies; "close" ends all connections and prints "closed"; the end of input ends
// the program.
#include "processor.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr std::string_view kBody =
    R"({"id":"chatcmpl-1","object":"chat.completion","created":1700000000,"model":"bench","choices":[{"index":0,)"
    R"("message":{"role":"assistant","content":"SELECT name FROM glacier ORDER BY height DESC LIMIT 1;"},)"
    R"("finish_reason":"stop"}],"usage":{"prompt_tokens":1,"completion_tokens":1,"total_tokens":2}})";

constexpr int kBurstPieces = 10'000;
constexpr int kPacedPieces = 200;

/// A piece of a reply's text as OpenAI's service sends it.
std::string makeEvent(std::string_view text) {
  return std::string(R"(data: {"id":"chatcmpl-9lOVJTuKN1fFGbcN8VJrbBTH","object":"chat.completion.chunk",)"
                     R"("created":1700000000,"model":"bench","service_tier":"default","system_fingerprint":"fp_1",)"
                     R"("choices":[{"index":0,"delta":{"role":"assistant","content":")")
      .append(text)
      .append("\"},\"logprobs\":null,\"finish_reason\":null}]}\n\n");
}

std::string makeChunk(std::string_view bytes) {
  std::array<char, 20> size{};
  const char* const end = std::to_chars(size.data(), size.data() + size.size(), bytes.size(), 16).ptr;
  return std::string(static_cast<const char*>(size.data()), end).append("\r\n").append(bytes).append("\r\n");
}

const std::string kStreamEnd =
    makeChunk("data: {\"choices\":[{\"index\":0,\"delta\":{},\"finish_reason\":\"stop\"}]}\n\n") +
    makeChunk("data: [DONE]\n\n") + "0\r\n\r\n";

struct Replies {
  std::string whole;
  std::string streamHead;
  std::string burst;
};

Replies makeReplies() {
  Replies replies;
  replies.whole =
      "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(kBody.size()) +
      "\r\n\r\n" + std::string(kBody);
  replies.streamHead = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n\r\n";
  replies.burst = replies.streamHead;
  for (int i = 0; i < kBurstPieces; ++i) replies.burst += makeChunk(makeEvent(" abc"));
  replies.burst += kStreamEnd;
  return replies;
}

using TLSContext = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;
using TLS = std::unique_ptr<SSL, decltype(&SSL_free)>;

std::atomic<long> connections = 0;
std::atomic<long> handshakes = 0;
std::atomic<long> resumed = 0;
std::atomic<long> requests = 0;
std::atomic<long> bodyBytes = 0;

/// The sockets that are open, so that they can be ended together.
class OpenSockets {
 public:
  void add(int socket) {
    const std::lock_guard lock(mutex_);
    sockets_.insert(socket);
  }
  void closeOne(int socket) {
    const std::lock_guard lock(mutex_);
    sockets_.erase(socket);
    close(socket);
    changed_.notify_all();
  }
  /// Returns when all are closed.
  void endAll() {
    std::unique_lock lock(mutex_);
    for (const int socket : sockets_) shutdown(socket, SHUT_RD);
    changed_.wait(lock, [this] { return sockets_.empty(); });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<int> sockets_;
};
OpenSockets openSockets;

class Connection {
 public:
  Connection(int socket, SSL_CTX* context) : socket_(socket), tls_(nullptr, &SSL_free) {
    if (context == nullptr) return;
    tls_.reset(SSL_new(context));
    SSL_set_fd(tls_.get(), socket);
    failed_ = SSL_accept(tls_.get()) != 1;
    if (failed_) return;
    ++handshakes;
    if (SSL_session_reused(tls_.get()) == 1) ++resumed;
  }

  void serve(const Replies& replies) {
    while (!failed_ && takeRequest()) {
      ++requests;
      if (isPaced_ && isStreamed_) {
        if (!sendPaced(replies.streamHead)) return;
      } else if (!sendAll(isStreamed_ ? replies.burst : replies.whole)) {
        return;
      }
    }
    if (tls_ != nullptr && !failed_) SSL_shutdown(tls_.get());
  }

 private:
  long receive(char* data, std::size_t size) const {
    return tls_ == nullptr ? recv(socket_, data, size, 0) : SSL_read(tls_.get(), data, static_cast<int>(size));
  }

  bool sendAll(std::string_view bytes) const {
    while (!bytes.empty()) {
      const long sent = tls_ == nullptr ? send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL)
                                        : SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()));
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  bool sendPaced(std::string_view head) const {
    if (!sendAll(head)) return false;
    for (int i = 0; i < kPacedPieces; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      const auto now = std::chrono::steady_clock::now().time_since_epoch();
      const auto time = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
      if (!sendAll(makeChunk(makeEvent(std::to_string(time))))) return false;
    }
    return sendAll(kStreamEnd);
  }

  /// Reads one request and keeps nothing but which reply it gets. Requests aren't pipelined, so what follows the head
  /// is the body's.
  bool takeRequest() {
    std::size_t have = 0;
    std::size_t headSize = std::string_view::npos;
    while (headSize == std::string_view::npos) {
      if (have == buffer_.size()) return false;
      const long received = receive(buffer_.data() + have, buffer_.size() - have);
      if (received <= 0) return false;
      have += static_cast<std::size_t>(received);
      headSize = std::string_view(buffer_.data(), have).find("\r\n\r\n");
    }
    const std::string_view head(buffer_.data(), headSize);
    isPaced_ = head.starts_with("POST /paced/");
    isStreamed_ = head.find("text/event-stream") != std::string_view::npos;
    const std::size_t body = findBodySize(head);
    bodyBytes += static_cast<long>(body);
    std::size_t missing = headSize + 4 + body;
    missing -= std::min(missing, have);
    while (missing != 0) {
      const long received = receive(buffer_.data(), std::min(missing, buffer_.size()));
      if (received <= 0) return false;
      missing -= static_cast<std::size_t>(received);
    }
    return true;
  }

  static std::size_t findBodySize(std::string_view head) {
    constexpr std::string_view kField = "\r\nContent-Length: ";
    const std::size_t place = head.find(kField);
    std::size_t size = 0;
    if (place != std::string_view::npos) {
      std::from_chars(head.data() + place + kField.size(), head.data() + head.size(), size);
    }
    return size;
  }

  int socket_;
  TLS tls_;
  bool failed_ = false;
  bool isPaced_ = false;
  bool isStreamed_ = false;
  std::vector<char> buffer_ = std::vector<char>(std::size_t{256} << 10);
};

TLSContext makeContext(const char* certificateFile, const char* keyFile) {
  TLSContext context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
  SSL_CTX_set_options(context.get(), SSL_OP_IGNORE_UNEXPECTED_EOF);     // endAll's, which is answered in good order
  constexpr std::array<unsigned char, 5> kId{'b', 'e', 'n', 'c', 'h'};  // without one OpenSSL resumes no session
  if (SSL_CTX_use_certificate_file(context.get(), certificateFile, SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_use_PrivateKey_file(context.get(), keyFile, SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_set_session_id_context(context.get(), kId.data(), kId.size()) != 1) {
    context.reset();
  }
  return context;
}

int listenOnLoopback() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  // Connections inherit it. Left to itself, the kernel gives each the room that it finds out by trying: of two sides
  // that send the same megabyte, one then takes twice as long as the other, and which one that is changes from run to
  // run.
  constexpr int kRoom = 128 << 10;
  setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &kRoom, sizeof kRoom);
  auto* const plain = reinterpret_cast<sockaddr*>(&address);
  if (listener < 0 || bind(listener, plain, size) != 0 || listen(listener, 64) != 0 ||
      getsockname(listener, plain, &size) != 0) {
    return -1;
  }
  std::cout << ntohs(address.sin_port) << std::endl;
  return listener;
}

void acceptAll(int listener, SSL_CTX* context, const Replies& replies) {
  for (;;) {
    const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    const int yes = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    ++connections;
    openSockets.add(socket);
    std::thread([socket, context, &replies] {
      Connection(socket, context).serve(replies);
      openSockets.closeOne(socket);
    }).detach();
  }
}

void obey() {
  for (std::string word; std::getline(std::cin, word);) {
    if (word == "stats") {
      std::cout << connections << ' ' << handshakes << ' ' << resumed << ' ' << requests << ' ' << bodyBytes
                << std::endl;
    }
    if (word == "close") {
      openSockets.endAll();
      std::cout << "closed" << std::endl;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  stayOnServersProcessor();
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // OpenSSL's writes to a client that went
  TLSContext context(nullptr, &SSL_CTX_free);
  if (argc == 3) {
    context = makeContext(argv[1], argv[2]);
    if (context == nullptr) return 1;
  }
  const int listener = listenOnLoopback();
  if (listener < 0) return 1;
  const Replies replies = makeReplies();
  std::thread([&] { acceptAll(listener, context.get(), replies); }).detach();
  obey();
  std::_Exit(0);  // the threads still use what main holds
}
