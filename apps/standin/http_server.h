// The HTTP side of the stand-in: listening, one thread for each connection, and an end that waits for nobody. The
// HTTP library parses requests and writes replies; the connections are ours, for faults need to reach them.
#pragma once

#include "connection.h"
#include "standin.h"

#include <httplib.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace standin {

/// Called for each request, on its connection's thread; fills the reply or puts an end to the connection.
using ExchangeHandler = std::function<void(const Request&, Connection&, httplib::Response&)>;

class HttpServer final : private httplib::Server {
 public:
  /// Binds and starts. @throw std::runtime_error when the address can't be used.
  HttpServer(const std::string& host, int port, TlsContext tls, ExchangeHandler handler);
  /// Closes every connection and joins every thread.
  ~HttpServer() override;
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  int port() const noexcept { return port_; }
  std::size_t connectionCount() const noexcept { return connectionCount_; }

 private:
  void configure();
  bool process_and_close_socket(socket_t socket) override;
  void serve(Connection& connection);
  bool admit(Connection& connection);
  void dismiss(Connection& connection);

  TlsContext tls_;
  ExchangeHandler handler_;
  int port_ = 0;
  std::atomic<std::size_t> connectionCount_{0};
  std::mutex mutex_;
  bool stopping_ = false;                      // under mutex_, as is the next
  std::set<Connection*> connections_;          // those that are open
  std::unique_ptr<httplib::TaskQueue> queue_;  // until listening begins, which must not fail
  std::thread listener_;
};

}  // namespace standin
