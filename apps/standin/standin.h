// A stand-in for the AI services on the loopback: for tests, and for a first run without a key. It speaks the
// services' protocols, answers from rules, and logs what it was asked. No language model is behind it.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
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

/// How a scripted exchange goes wrong.
enum class Fault {
  None,
  SlowBody,  // the body in about ten pieces, or in those that the service makes, each `pace` after the one before
  CutBody,   // the connection ends in the middle of the body
  Reset,     // TCP reset instead of a reply
  NoReply    // the request is read, nothing is answered until the server stops or the client leaves
};

/// What happens to one request in place of the usual answer; what is not set stays as the service would answer. The
/// service acts on the request unless the status is 400 or more or there is no reply at all.
struct Script {
  std::optional<int> status = {};
  std::optional<std::string> body = {};  // sent as it stands
  Headers headers = {};                  // added to the reply; a Content-Type replaces the usual one
  std::chrono::milliseconds delay{0};
  Fault fault = Fault::None;
  std::chrono::milliseconds pace{20};
};

/// What becomes of one run of an assistant, in place of the usual end.
struct RunScript {
  std::vector<std::string> statuses = {"completed"};  // told one for each request for the run; the last one stays
  std::optional<std::string> lastError = {};          // the JSON of the member "last_error"; not set: null
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
  std::string idTail{};  // put behind every identifier of the Assistants protocol
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
  /// has ended, its thread takes no new message and no new run.
  void scriptRun(RunScript script);
  /// All requests so far, oldest first.
  std::vector<Request> requests() const;
  /// The connections accepted so far.
  std::size_t connectionCount() const noexcept;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace standin
