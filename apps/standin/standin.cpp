#include "standin.h"

#include "assistants_store.h"
#include "http_server.h"
#include "request.h"
#include "services.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <span>
#include <utility>

namespace standin {
namespace {

TlsContext makeTls(const Options& options) {
  if (options.certificateFile.empty() && options.privateKeyFile.empty()) return nullptr;
  return makeTlsContext(options.certificateFile, options.privateKeyFile);
}

/// A service that refuses does nothing, so a scripted refusal takes the usual answer from a copy of what is kept.
Reply answerUsually(std::span<const Site> sites, const Request& request, const std::string& apiKey,
                    const Script& script, AssistantsStore& store) {
  constexpr int kFirstRefusal = 400;
  std::optional<AssistantsStore> copy;
  if (script.status.value_or(0) >= kFirstRefusal) copy.emplace(store);
  return answerRequest(sites, request, apiKey, copy ? *copy : store);
}

/// Puts what the script sets in the place of the usual answer.
Reply followScript(Reply reply, const Script& script) {
  if (script.status) reply.status = *script.status;
  if (script.body) {
    reply.body = *script.body;
    reply.pieces = nullptr;
  }
  return reply;
}

Headers chooseHeaders(const Headers& scripted, const std::string& contentType) {
  Headers headers = scripted;
  const bool typed = std::any_of(headers.begin(), headers.end(),
                                 [](const auto& header) { return sameText(header.first, "Content-Type"); });
  if (!typed) headers.emplace_back("Content-Type", contentType);
  return headers;
}

/// `body` in about ten pieces.
PieceSource splitBody(std::string body) {
  constexpr std::size_t kPieces = 10;
  return [body = std::move(body), sent = std::size_t{0}]() mutable -> std::optional<Piece> {
    if (sent == body.size()) return std::nullopt;
    const std::size_t begin = sent;
    sent += std::min(std::max<std::size_t>(1, body.size() / kPieces), body.size() - begin);
    return Piece{.bytes = body.substr(begin, sent - begin)};
  };
}

PieceSource slowDown(PieceSource pieces, std::chrono::milliseconds pace) {
  return [pieces = std::move(pieces), pace]() {
    std::optional<Piece> piece = pieces();
    if (piece) piece->pause += pace;
    return piece;
  };
}

PieceSource firstHalf(const Reply& reply) {
  std::string body = reply.body;
  while (reply.pieces) {
    const std::optional<Piece> piece = reply.pieces();
    if (!piece) break;
    body += piece->bytes;
  }
  return wholeBody(body.substr(0, body.size() / 2));
}

HttpReply prepareReply(Reply reply, const Script& script) {
  HttpReply prepared{.status = reply.status, .headers = chooseHeaders(script.headers, reply.contentType)};
  if (reply.pieces) {
    prepared.size = std::nullopt;
  } else {
    prepared.size = reply.body.size();
  }
  if (script.fault == Fault::CutBody) {
    prepared.cut = true;
    prepared.body = firstHalf(reply);
  } else if (script.fault == Fault::SlowBody) {
    prepared.body = slowDown(reply.pieces ? std::move(reply.pieces) : splitBody(std::move(reply.body)), script.pace);
  } else {
    prepared.body = reply.pieces ? std::move(reply.pieces) : wholeBody(std::move(reply.body));
  }
  return prepared;
}

}  // namespace

struct Server::Impl {
  explicit Impl(Options given)
      : options(std::move(given)),
        sites(mountServices(options.mounts)),
        assistants(options.idTail),
        http(options.host, options.port, makeTls(options),
             [this](const Request& request, Connection& connection) { return exchange(request, connection); }) {}

  std::optional<HttpReply> exchange(const Request& request, Connection& connection);
  Script logAndTakeScript(const Request& request);

  const Options options;
  const std::vector<Site> sites;
  mutable std::mutex mutex;
  std::vector<Request> log;  // under the mutex, as are the scripts
  std::deque<Script> scripts;
  AssistantsStore assistants;
  HttpServer http;  // last: its threads use all the others
};

std::optional<HttpReply> Server::Impl::exchange(const Request& request, Connection& connection) {
  const Script script = logAndTakeScript(request);
  if (!http.pause(script.delay)) {
    connection.hangUp();
  } else if (script.fault == Fault::Reset) {
    connection.reset();
  } else if (script.fault == Fault::NoReply) {
    connection.awaitEnd();
  } else {
    return prepareReply(followScript(answerUsually(sites, request, options.apiKey, script, assistants), script),
                        script);
  }
  return std::nullopt;
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
