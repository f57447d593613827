// The HTTP side of the stand-in: listening, one thread for each connection, and an end that waits for nobody.
#pragma once

#include "connection.h"
#include "reply_writer.h"
#include "standin.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

namespace standin {

/// Called for each request, on its connection's thread. @return the reply; nothing when it put an end to the connection
using ExchangeHandler = std::function<std::optional<HttpReply>(const Request&, Connection&)>;

class HttpServer {
 public:
  /// Binds and starts. @throw std::runtime_error when the address can't be used.
  HttpServer(const std::string& host, int port, TlsContext tls, ExchangeHandler handler);
  /// Closes every connection and joins every thread.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  int port() const noexcept { return port_; }
  std::size_t connectionCount() const noexcept { return connectionCount_; }
  /// Waits, for a handler. @return false when the server ends meanwhile
  bool pause(std::chrono::milliseconds time);

 private:
  struct Worker {
    std::atomic<bool> done{false};
    std::jthread thread = {};
  };

  void listen();
  void startServing(Socket socket);
  void serve(Socket socket) noexcept;
  void converse(Connection& connection);
  bool admit(Connection& connection);
  void dismiss(Connection& connection);

  const TlsContext tls_;
  const ExchangeHandler handler_;
  const OwnedSocket listener_;
  const int port_;
  std::atomic<std::size_t> connectionCount_{0};
  std::atomic<bool> stopping_{false};
  std::mutex mutex_;
  std::condition_variable stopped_;
  std::set<Connection*> connections_;  // those that are open; under the mutex
  std::list<Worker> workers_;          // the listening thread's own
  std::thread listening_;
};

}  // namespace standin
