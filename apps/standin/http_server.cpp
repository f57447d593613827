#include "http_server.h"

#include "request_reader.h"

#include <cf/defer.h>

#include <exception>
#include <stdexcept>
#include <utility>

namespace standin {

HttpServer::HttpServer(const std::string& host, int port, TlsContext tls, ExchangeHandler handler)
    : tls_(std::move(tls)),
      handler_(std::move(handler)),
      listener_(listenOn(host, port)),
      port_(portOf(listener_.get())) {
  if (listener_.get() == kNoSocket) {
    throw std::runtime_error("cannot listen on " + host + " port " + std::to_string(port));
  }
  listening_ = std::thread([this] { listen(); });
}

HttpServer::~HttpServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    for (Connection* connection : connections_) connection->shutDown();
  }
  stopped_.notify_all();
  shutDownSocket(listener_.get());
  listening_.join();
}

bool HttpServer::pause(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return !stopped_.wait_for(lock, time, [this] { return stopping_.load(); });
}

void HttpServer::listen() {
  blockBrokenPipeSignal();
  while (!stopping_) {
    const Socket socket = acceptConnection(listener_.get());
    if (socket != kNoSocket) startServing(socket);
  }
  workers_.clear();
}

/// In a thread of its own, so that idle connections never keep a new one waiting.
void HttpServer::startServing(Socket socket) {
  workers_.remove_if([](const Worker& worker) { return worker.done || !worker.thread.joinable(); });
  try {
    Worker& worker = workers_.emplace_back();
    worker.thread = std::jthread([this, socket, &worker] {
      serve(socket);
      worker.done = true;
    });
  } catch (const std::exception&) {
    serve(socket);  // there can be no further thread
  }
}

/// Without memory a connection ends; that is no reason for the process to end.
void HttpServer::serve(Socket socket) noexcept {
  try {
    ++connectionCount_;
    Connection connection(socket, tls_.get());
    if (!admit(connection)) return;
    const CODefer leave([&] { dismiss(connection); });
    if (connection.accept()) converse(connection);
  } catch (const std::exception&) {
    // The connection has closed itself.
  }
}

void HttpServer::converse(Connection& connection) {
  RequestReader reader(connection);
  const Pause wait = [this](std::chrono::milliseconds time) { return pause(time); };
  while (connection.isOpen()) {
    const std::optional<Arrival> arrival = reader.read();
    if (!arrival) {
      if (reader.refusal() != 0) sendRefusal(reader.refusal(), connection);
      return;
    }
    const std::optional<HttpReply> reply = handler_(arrival->request, connection);
    if (!reply) return;
    sendReply(*reply, *arrival, wait, connection);
  }
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
