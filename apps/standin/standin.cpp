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
/// Streams outlive the copy, but no refusal is one.
Reply answerUsually(std::span<const Site> sites, const Request& request, const std::string& apiKey,
                    const Script& script, AssistantsStore& store) {
  constexpr int kFirstRefusal = 400;
  std::optional<AssistantsStore> copy;
  if (script.status.value_or(0) >= kFirstRefusal) copy.emplace(store);
  const bool mayStream = !copy && !script.body && script.pieces.empty();
  return answerRequest(
      sites, {.request = request, .apiKey = apiKey, .assistants = copy ? *copy : store, .mayStream = mayStream});
}

PieceSource listPieces(std::vector<Piece> pieces) {
  return [pieces = std::move(pieces), sent = std::size_t{0}]() mutable -> std::optional<Piece> {
    if (sent == pieces.size()) return std::nullopt;
    return std::move(pieces[sent++]);
  };
}

/// Puts what the script sets in the place of the usual answer.
Reply followScript(Reply reply, const Script& script) {
  if (script.status) reply.status = *script.status;
  if (script.body) reply.body = *script.body;
  if (!script.pieces.empty()) reply.pieces = listPieces(script.pieces);
  if (!script.contentType.empty()) reply.contentType = script.contentType;
  return reply;
}

/// The scripted headers, and those of `usual` that they do not replace.
Headers chooseHeaders(const Headers& scripted, const Headers& usual) {
  Headers headers = scripted;
  for (const auto& header : usual) {
    const bool replaced = std::any_of(scripted.begin(), scripted.end(),
                                      [&](const auto& other) { return sameText(other.first, header.first); });
    if (!replaced) headers.push_back(header);
  }
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

/// The pieces of `body` as far as they make up `size` bytes; no further one is made.
PieceSource firstBytes(PieceSource body, std::size_t size) {
  return [body = std::move(body), size]() mutable -> std::optional<Piece> {
    if (size == 0) return std::nullopt;
    std::optional<Piece> piece = body();
    if (!piece) return std::nullopt;
    piece->bytes.resize(std::min(size, piece->bytes.size()));
    size -= piece->bytes.size();
    return piece;
  };
}

PieceSource firstHalf(const PieceSource& body) {
  std::vector<Piece> pieces;
  std::size_t size = 0;
  while (auto piece = body()) {
    size += piece->bytes.size();
    pieces.push_back(std::move(*piece));
  }
  return firstBytes(listPieces(std::move(pieces)), size / 2);
}

HttpReply prepareReply(Reply reply, const Script& script, std::size_t number) {
  HttpReply prepared{
      .status = reply.status,
      .headers = chooseHeaders(script.headers, {{"Content-Type", reply.contentType},
                                                {"x-request-id", "req_standin_" + std::to_string(number)}}),
      .reset = script.fault == Fault::ResetBody};
  if (reply.pieces) {
    prepared.size = std::nullopt;
  } else {
    prepared.size = reply.body.size();
    reply.pieces =
        script.fault == Fault::SlowBody ? splitBody(std::move(reply.body)) : wholeBody(std::move(reply.body));
  }
  prepared.cut = prepared.reset || script.fault == Fault::CutBody;
  if (prepared.cut) {
    prepared.body = script.cutAfter ? firstBytes(std::move(reply.pieces), *script.cutAfter) : firstHalf(reply.pieces);
  } else if (script.fault == Fault::SlowBody) {
    prepared.body = slowDown(std::move(reply.pieces), script.pace);
  } else {
    prepared.body = std::move(reply.pieces);
  }
  return prepared;
}

/// A request that is in the log.
struct Logged {
  Script script;
  std::size_t number;  // from 1
};

}  // namespace

struct Server::Impl {
  explicit Impl(Options given)
      : options(std::move(given)),
        sites(mountServices(options.mounts)),
        assistants(options.idTail),
        http(options.host, options.port, makeTls(options),
             [this](const Request& request, Connection& connection) { return exchange(request, connection); }) {}

  std::optional<HttpReply> exchange(const Request& request, Connection& connection);
  Logged logAndTakeScript(const Request& request);

  const Options options;
  const std::vector<Site> sites;
  mutable std::mutex mutex;
  std::vector<Request> log;  // under the mutex, as are the scripts
  std::deque<Script> scripts;
  AssistantsStore assistants;
  HttpServer http;  // last: its threads use all the others
};

std::optional<HttpReply> Server::Impl::exchange(const Request& request, Connection& connection) {
  const auto [script, number] = logAndTakeScript(request);
  if (!http.pause(script.delay)) {
    connection.hangUp();
  } else if (script.fault == Fault::Reset) {
    connection.reset();
  } else if (script.fault == Fault::NoReply) {
    connection.awaitEnd();
  } else {
    Reply reply = followScript(answerUsually(sites, request, options.apiKey, script, assistants), script);
    if (reply.pieces) reply.pieces = slowDown(std::move(reply.pieces), options.pace);
    return prepareReply(std::move(reply), script, number);
  }
  return std::nullopt;
}

/// Both under one lock, so that scripts meet the requests in the order of the log.
Logged Server::Impl::logAndTakeScript(const Request& request) {
  const std::lock_guard lock(mutex);
  log.push_back(request);
  Logged logged{.script = {}, .number = log.size()};
  if (scripts.empty()) return logged;
  logged.script = std::move(scripts.front());
  scripts.pop_front();
  return logged;
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

void Server::forgetAssistants() { impl_->assistants.forget(); }

std::vector<Request> Server::requests() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->log;
}

std::size_t Server::connectionCount() const noexcept { return impl_->http.connectionCount(); }

}  // namespace standin
