#include "http_server.h"

#include "request.h"
#include "socket.h"

#include <cf/defer.h>

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <list>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace standin {
namespace {

/// Without memory a connection ends; that is no reason for the process to end.
void runToItsEnd(const std::function<void()>& task) noexcept {
  try {
    task();
  } catch (const std::exception&) {
    // The connection has closed itself.
  }
}

/// A thread for each connection, so that idle ones never keep a new one waiting. Used by the listening thread alone,
/// which serves a connection itself where no thread can be made.
class ThreadPerConnection final : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> task) override {
    workers_.remove_if([](const Worker& worker) { return worker.done.load(); });
    try {
      workers_.emplace_back(task);
    } catch (const std::exception&) {
      runToItsEnd(task);
    }
  }

  void shutdown() override { workers_.clear(); }

 private:
  struct Worker {
    explicit Worker(const std::function<void()>& task)
        : thread([this, task] {
            runToItsEnd(task);
            done = true;
          }) {}

    std::atomic<bool> done{false};
    std::jthread thread;
  };

  std::list<Worker> workers_;
};

/// The request that the running thread is serving. The HTTP library hands its handlers no way to it.
struct Exchange {
  Request request;
  Connection& connection;
};
thread_local Exchange* currentExchange = nullptr;

/// Leaves the HTTP library only what it needs to read the body and to keep the connection, and one path for all: it
/// shall not compress replies, unpack bodies, take forms apart or match patterns.
void reduceHead(httplib::Request& head) {
  constexpr std::array<std::string_view, 4> kKept{"Content-Length", "Transfer-Encoding", "Connection", "Expect"};
  httplib::Headers kept;
  for (const std::string_view name : kKept) {
    const std::string key(name);
    if (head.has_header(key)) kept.emplace(key, head.get_header_value(key));
  }
  head.headers = std::move(kept);
  head.ranges.clear();
  head.path = "/";
}

}  // namespace

HttpServer::HttpServer(const std::string& host, int port, TlsContext tls, ExchangeHandler handler)
    : tls_(std::move(tls)), handler_(std::move(handler)), queue_(std::make_unique<ThreadPerConnection>()) {
  configure();
  port_ = port == 0 ? bind_to_any_port(host) : (bind_to_port(host, port) ? port : -1);
  if (port_ < 0) throw std::runtime_error("cannot listen on " + host + " port " + std::to_string(port));
  listener_ = std::thread([this] { listen_after_bind(); });
  while (!is_running()) std::this_thread::yield();  // until then stop() would do nothing
}

HttpServer::~HttpServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    for (Connection* connection : connections_) connection->shutDown();
  }
  stop();
  listener_.join();
}

void HttpServer::configure() {
  // The library's default would let two servers share a port unnoticed.
  set_socket_options(claimAddress);
  set_keep_alive_max_count(std::numeric_limits<int>::max());
  set_keep_alive_timeout(3600);
  new_task_queue = [this] { return queue_.release(); };  // the library takes it over
  const Handler handle = [this](const httplib::Request& head, httplib::Response& reply) {
    currentExchange->request.body = head.body;
    handler_(currentExchange->request, currentExchange->connection, reply);
  };
  Get("/", handle).Post("/", handle).Put("/", handle).Patch("/", handle).Delete("/", handle).Options("/", handle);
}

bool HttpServer::process_and_close_socket(socket_t socket) {
  ++connectionCount_;
  Connection connection(socket, tls_.get());
  if (!admit(connection)) return false;
  const CODefer leave([&] { dismiss(connection); });
  if (connection.accept()) serve(connection);
  return true;
}

void HttpServer::serve(Connection& connection) {
  Exchange exchange{.request = {}, .connection = connection};
  currentExchange = &exchange;
  bool served = true;
  bool lastOne = false;
  while (served && !lastOne && connection.isOpen()) {
    connection.recordHead();
    served = process_request(connection, false, lastOne, [&](httplib::Request& head) {
      exchange.request = readHead(connection.takeHead());
      reduceHead(head);
    });
  }
  currentExchange = nullptr;
}

bool HttpServer::admit(Connection& connection) {
  const std::lock_guard lock(mutex_);
  if (!stopping_) connections_.insert(&connection);
  return !stopping_;
}

void HttpServer::dismiss(Connection& connection) {
  const std::lock_guard lock(mutex_);
  connections_.erase(&connection);
}

}  // namespace standin
