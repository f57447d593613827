#include "standin.h"

#include "assistants_store.h"
#include "http_server.h"
#include "protocol.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace standin {
namespace {

TlsContext makeTls(const Options& options) {
  if (options.certificateFile.empty() && options.privateKeyFile.empty()) return nullptr;
  return makeTlsContext(options.certificateFile, options.privateKeyFile);
}

/// What goes out: the service's answer with what the script puts in its place.
struct Outcome {
  int status;
  std::string body;
  std::string contentType;
};

/// A service that refuses does nothing, so a scripted refusal takes the usual answer from a copy of what is kept.
Outcome decideOutcome(const Request& request, const std::string& apiKey, const Script& script, AssistantsStore& store) {
  constexpr int kFirstRefusal = 400;
  std::optional<AssistantsStore> copy;
  if (script.status.value_or(0) >= kFirstRefusal) copy.emplace(store);
  Reply usual = answerRequest(request, apiKey, copy ? *copy : store);
  return {.status = script.status.value_or(usual.status),
          .body = script.body.value_or(usual.body),
          .contentType = std::move(usual.contentType)};
}

void setHeaders(const Headers& headers, Outcome& outcome, httplib::Response& reply) {
  reply.headers.insert(headers.begin(), headers.end());
  const auto given = reply.headers.find("Content-Type");
  if (given == reply.headers.end()) return;
  outcome.contentType = given->second;
  reply.headers.erase(given);
}

void setHalfBody(Outcome outcome, Connection& connection, httplib::Response& reply) {
  const std::size_t size = outcome.body.size();
  const auto sendHalf = [&connection, body = std::move(outcome.body)](std::size_t, std::size_t,
                                                                      httplib::DataSink& sink) {
    sink.write(body.data(), body.size() / 2);
    connection.hangUp();
    return false;
  };
  reply.set_content_provider(size, outcome.contentType, sendHalf);
}

}  // namespace

struct Server::Impl {
  explicit Impl(Options given)
      : options(std::move(given)),
        assistants(options.idTail),
        http(options.host, options.port, makeTls(options),
             [this](const Request& request, Connection& connection, httplib::Response& reply) {
               exchange(request, connection, reply);
             }) {}

  ~Impl() {
    {
      const std::lock_guard lock(mutex);
      stopping = true;
    }
    stopped.notify_all();
  }

  void exchange(const Request& request, Connection& connection, httplib::Response& reply);
  Script logAndTakeScript(const Request& request);
  bool pause(std::chrono::milliseconds time);
  void setSlowBody(Outcome outcome, std::chrono::milliseconds pace, httplib::Response& reply);

  const Options options;
  mutable std::mutex mutex;
  std::vector<Request> log;  // under the mutex, as are the next two
  std::deque<Script> scripts;
  bool stopping = false;
  std::condition_variable stopped;
  AssistantsStore assistants;
  HttpServer http;  // last: its threads use all the others
};

void Server::Impl::exchange(const Request& request, Connection& connection, httplib::Response& reply) {
  const Script script = logAndTakeScript(request);
  if (!pause(script.delay)) return connection.hangUp();
  if (script.fault == Fault::Reset) return connection.reset();
  if (script.fault == Fault::NoReply) return connection.awaitEnd();
  Outcome outcome = decideOutcome(request, options.apiKey, script, assistants);
  reply.status = outcome.status;
  setHeaders(script.headers, outcome, reply);
  if (script.fault == Fault::CutBody) return setHalfBody(std::move(outcome), connection, reply);
  if (script.fault == Fault::SlowBody) return setSlowBody(std::move(outcome), script.pace, reply);
  reply.set_content(outcome.body, outcome.contentType);
}

/// Both under one lock, so that scripts meet the requests in the order of the log.
Script Server::Impl::logAndTakeScript(const Request& request) {
  const std::lock_guard lock(mutex);
  log.push_back(request);
  if (scripts.empty()) return {};
  Script script = std::move(scripts.front());
  scripts.pop_front();
  return script;
}

/// @return false when the server stops meanwhile.
bool Server::Impl::pause(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex);
  return !stopped.wait_for(lock, time, [this] { return stopping; });
}

void Server::Impl::setSlowBody(Outcome outcome, std::chrono::milliseconds pace, httplib::Response& reply) {
  constexpr std::size_t kPieces = 10;
  const std::size_t size = outcome.body.size();
  const auto sendPiece = [this, pace, pieceSize = std::max<std::size_t>(1, size / kPieces),
                          body = std::move(outcome.body)](std::size_t offset, std::size_t left,
                                                          httplib::DataSink& sink) {
    return pause(pace) && sink.write(body.data() + offset, std::min(pieceSize, left));
  };
  reply.set_content_provider(size, outcome.contentType, sendPiece);
}

Server::Server(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}
Server::~Server() = default;

int Server::port() const noexcept { return impl_->http.port(); }

std::string Server::address() const {
  const std::string port = ":" + std::to_string(impl_->http.port());
  if (!impl_->options.certificateFile.empty()) return "https://localhost" + port;
  const std::string& host = impl_->options.host;
  return "http://" + (host.find(':') == std::string::npos ? host : "[" + host + "]") + port;
}

void Server::script(Script script) {
  const std::lock_guard lock(impl_->mutex);
  impl_->scripts.push_back(std::move(script));
}

void Server::scriptRun(RunScript script) { impl_->assistants.scriptRun(std::move(script)); }

std::vector<Request> Server::requests() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->log;
}

std::size_t Server::connectionCount() const noexcept { return impl_->http.connectionCount(); }

}  // namespace standin
