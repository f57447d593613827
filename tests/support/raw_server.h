// A server for tests that answers with exactly the bytes, stalls and closes that a script says.
#pragma once

#include "support/sockets.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

/// One step of a script.
namespace raw {
struct Send {  // these bytes
  std::string bytes;
};
struct SendForever {  // these bytes again and again, until the client goes
  std::string bytes;
};
struct Stall {};  // nothing more, until the client goes or the server stops
struct Close {};  // an orderly end (FIN)
struct Reset {};  // an end by RST
struct Call {     // something on the test's side, on the server's thread
  std::function<void()> action;
};
struct StartTLS {};  // the rest of the connection in TLS, behind a proxy's "200"

using Step = std::variant<Send, SendForever, Stall, Close, Reset, Call, StartTLS>;
using Script = std::vector<Step>;

/// A complete reply with a Content-Length.
std::string reply(int status, std::string_view body, std::string_view furtherFields = "");
}  // namespace raw

struct ssl_ctx_st;
using TLSContext = std::shared_ptr<ssl_ctx_st>;

namespace raw {
/// The script for a request: `request` is the whole of it, `number` counts from 0 over all connections. Called on the
/// connections' threads, on several at once.
using Answer = std::function<Script(const std::string& request, std::size_t number)>;
}  // namespace raw

/// Listens on a free port of the loopback. Each connection has its own thread, which reads a request and runs a
/// script, again and again until the script ends the connection.
class RawServer {
 public:
  enum class Greeting { None, TLS };

  /// With a TLS context the connections begin with TLS, or with `Greeting::None` at a StartTLS step.
  explicit RawServer(raw::Answer answer, TLSContext tls = nullptr, Greeting greeting = Greeting::TLS);
  /// Request number n (from 0, over all connections) gets script n, the later ones the last.
  explicit RawServer(std::vector<raw::Script> scripts, TLSContext tls = nullptr, Greeting greeting = Greeting::TLS);
  /// One reply for every request, on connections that stay open.
  explicit RawServer(std::string reply) : RawServer({raw::Script{raw::Send{std::move(reply)}}}) {}
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  /// Connections end by RST as soon as a request has come to this many bytes. Called before the first request.
  void resetAfter(std::size_t bytes) { longestRequest_ = bytes; }
  /// Requests are counted and not kept, so that any number may come. Called before the first request.
  void keepNoRequests() { keepsRequests_ = false; }

  /// Further connections are refused; those that are there go on. From any thread, once.
  void stopListening();

  int getPort() const { return port_; }
  /// "http://127.0.0.1:port", or "https://localhost:port" with TLS.
  std::string getURL() const;
  /// The requests so far, whole: head and body.
  std::vector<std::string> getRequests() const;
  /// The bytes that came of requests, whole or not, inside TLS where there is TLS.
  std::size_t getReceivedBytes() const;
  std::size_t getConnections() const;
  std::size_t getHandshakes() const;         // completed, resumed ones included
  std::size_t getResumedHandshakes() const;  // of these

  /// Each waits until the number is reached; false when that takes more than ten seconds.
  bool waitForRequests(std::size_t count) const;
  bool waitForEnds(std::size_t count) const;  // of connections, by whichever side

 private:
  struct Connection;
  struct Log {
    std::vector<std::string> requests;
    std::size_t served = 0, connections = 0, ends = 0, handshakes = 0, resumed = 0, bytes = 0;
  };

  void acceptAll();
  void dropEnded();
  void serve(Connection& connection);
  void converse(Connection& connection);
  raw::Script takeScript(const std::string& request);
  bool perform(Connection& connection, const raw::Step& step);
  bool startTLS(Connection& connection);
  void record(const std::function<void(Log&)>& change);

  const raw::Answer answer_;
  const TLSContext tls_;
  const Greeting greeting_;
  const sockets::Handle listener_;
  const int port_;
  std::atomic<bool> stopping_{false};
  std::size_t longestRequest_ = std::string::npos;
  bool keepsRequests_ = true;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  Log log_;
  std::vector<std::unique_ptr<Connection>> connections_;
  std::thread acceptor_;
};
