// A stand-in for the AI services on the loopback: for tests, and for a first run without a key. It speaks the
// services' protocols, answers from rules, and logs what it was asked. No language model is behind it.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace standin {

using Headers = std::vector<std::pair<std::string, std::string>>;

/// One request as it arrived.
struct Request {
  std::string method;
  std::string path;  // percent-encoded as sent, without the query
  Headers query;     // decoded pairs
  Headers headers;   // as sent, but for white space around the values
  std::string body;

  /// The value of header `name` (any case); "" when it was not sent.
  std::string header(const std::string& name) const;
};

/// A part of a body that is sent on its own.
struct Piece {
  std::string bytes;
  std::chrono::milliseconds pause{0};  // before it is sent
};

/// `bytes` in the pieces in which the services send their streams: of sizes that vary, cut anywhere.
std::vector<Piece> cutBytes(std::string_view bytes);

/// How a scripted exchange goes wrong.
enum class Fault {
  None,
  SlowBody,   // the body in about ten pieces, or in those that it has anyway, each `pace` after the one before
  CutBody,    // the connection ends in the middle of the body
  ResetBody,  // TCP reset in the middle of the body
  Reset,      // TCP reset instead of a reply
  NoReply     // the request is read, nothing is answered until the server stops or the client leaves
};

/// What happens to one request in place of the usual answer; what is not set stays as the service would answer. The
/// service acts on the request unless the status is 400 or more or there is no reply at all. A request for a stream
/// gets one unless a body or a status of 400 or more is set: then it is answered as one without a stream.
struct Script {
  std::optional<int> status = {};
  std::optional<std::string> body = {};  // sent as it stands
  Headers headers = {};                  // added to the reply; a header of the service's by the same name is left out
  std::chrono::milliseconds delay{0};
  Fault fault = Fault::None;
  std::chrono::milliseconds pace{20};
  std::vector<Piece> pieces = {};            // when there are any: the body, in chunks, each sent on its own
  std::string contentType = {};              // "": the usual one
  std::optional<std::size_t> cutAfter = {};  // how many bytes CutBody and ResetBody let through; not set: half of them
};

/// What becomes of one run of an assistant, in place of the usual end.
struct RunScript {
  /// Told one for each request for the run; the last one stays. A stream tells that the run is queued and in progress,
  /// then the others one by one, up to the first one that ends it or the last one.
  std::vector<std::string> statuses = {"completed"};
  std::optional<std::string> lastError = {};  // the JSON of the member "last_error"; not set: null
  /// The JSON of "content" of each message that the run writes, oldest first; not set: one with the usual answer.
  std::optional<std::vector<std::string>> contents = {};
};

/// A service and where it stands.
struct Mount {
  std::string prefix;   // of the paths, "/one" or "/one/two", which the service does not see; "": the root
  std::string service;  // openai, assistants, deepseek, ollama or gemini
};

struct Options {
  std::string host = "127.0.0.1";
  int port = 0;                   // 0: any free one
  std::string apiKey{};           // the only key that is accepted; empty: any key but an empty one
  std::string certificateFile{};  // PEM; with privateKeyFile: TLS
  std::string privateKeyFile{};
  std::string idTail{};               // put behind every identifier of the Assistants protocol
  std::chrono::milliseconds pace{0};  // before each piece of a streamed reply
  /// The longest prefix that holds a request's path decides; services with the same prefix are told apart by their
  /// paths, where the first one wins. Empty: all at the root, and each below its name (Assistants below /openai), so
  /// that every service has a place where no other has its paths.
  std::vector<Mount> mounts{};
};

/// A running stand-in. Serves from construction to destruction on threads of its own; every operation may be called
/// from any thread.
class Server {
 public:
  /// Binds and starts. @throw std::runtime_error when the address, the certificate or a mount can't be used.
  explicit Server(Options options = {});
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  int port() const noexcept;
  /// "http://127.0.0.1:PORT", or https with "localhost" in place of the number when it serves TLS.
  std::string address() const;

  /// Queues `script` for the next request that has none yet; scripts are used up in order.
  void script(Script script);
  /// Queues `script` for the next run of an assistant that has none yet. Until a request has been told that such a run
  /// has ended, its thread takes no new message and no new run; so it is with every run whose events are streamed.
  void scriptRun(RunScript script);
  /// Forgets all assistants and threads, as a server does that kept them in memory and was started anew.
  void forgetAssistants();
  /// All requests so far, oldest first. The reply to the one at `i` has the header "x-request-id: req_standin_N", with
  /// i + 1 for N, unless a script sets another.
  std::vector<Request> requests() const;
  /// The connections accepted so far.
  std::size_t connectionCount() const noexcept;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace standin
