#include "server_program.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <thread>

namespace {

// Both outputs in one, which can be read line by line.
Command withOneOutput(std::vector<std::string> arguments, std::chrono::milliseconds patience) {
  arguments.insert(arguments.begin(), {"/bin/sh", "-c", R"(exec "$@" 2>&1)", "sh"});
  return {.arguments = std::move(arguments), .environment = {}, .input = {}, .patience = patience};
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool takesConnections(int port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const timeval most{.tv_sec = 1, .tv_usec = 0};  // where too many wait to be taken, connecting would take minutes
  setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &most, sizeof most);
  const sockaddr_in address = loopback(port);
  const bool taken = connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(socket);
  return taken;
}

/// Waits for a server to start. Each of these tells why it did not.
class Start {
 public:
  Start(Child& server, std::chrono::milliseconds patience) : server_(server), patience_(patience) {}

  std::string waitUntilItSays(std::string_view listens) {
    const std::string late = "did not say \"" + std::string(listens) + "\" in " + limit();
    try {
      while (const std::optional<std::string> line = server_.readLine()) {
        said_ += *line + '\n';
        if (line->find(listens) != std::string::npos) return "";
        if (isOver()) return told(late);
      }
    } catch (const std::runtime_error& silence) {
      return told(late + ", " + silence.what());
    }
    return told("ended");
  }
  // squid says so a moment before.
  std::string waitUntilItTakesConnections(std::span<const ReservedPort> ports) const {
    for (const ReservedPort& port : ports) {
      while (!takesConnections(port.number())) {
        if (isOver()) return told("takes no connections at port " + port.text() + " in " + limit());
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    }
    return "";
  }

 private:
  using Clock = std::chrono::steady_clock;

  bool isOver() const { return Clock::now() > begin_ + patience_; }
  std::string limit() const { return std::to_string(patience_.count()) + " ms"; }
  std::string told(const std::string& what) const {
    return what + "; " + (said_.empty() ? "it said nothing" : "it said: " + said_);
  }

  Child& server_;
  const std::chrono::milliseconds patience_;
  const Clock::time_point begin_ = Clock::now();
  std::string said_;
};

}  // namespace

std::filesystem::path packagedFile(std::string_view name) { return std::filesystem::path(QAI_SERVERS) / name; }

std::string obtainServersLack() {
  for (const char* name : {"usr/sbin/squid", "usr/sbin/nginx", "usr/sbin/nft"}) {
    if (!std::filesystem::exists(packagedFile(name)))
      return "There is no " + packagedFile(name).string() + "; ./test fetches it";
  }
  return "";
}

// Linux gives a port that a socket is bound to, but none listens at, to another one when both allow that; squid and
// nginx do. It never gives it away unasked.
ReservedPort::ReservedPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), number_(0) {
  const int yes = 1;
  setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  if (bind(socket_, plain, size) != 0 || getsockname(socket_, plain, &size) != 0) {
    throw std::runtime_error("There is no port for a server");
  }
  number_ = ntohs(address.sin_port);
}

ReservedPort::~ReservedPort() { close(socket_); }

void openToAll(const std::filesystem::path& folder) {
  using std::filesystem::perms;
  std::filesystem::permissions(
      folder, perms::owner_all | perms::group_read | perms::group_exec | perms::others_read | perms::others_exec);
}

ServerProgram::ServerProgram(std::vector<std::string> arguments, std::string_view listens,
                             std::span<const ReservedPort> ports, std::chrono::milliseconds patience) {
  static std::map<std::string, std::string> failures;  // by program
  const std::string program = arguments.front();
  const std::string name = std::filesystem::path(program).filename().string();
  if (const auto failure = failures.find(program); failure != failures.end()) {
    throw std::runtime_error(name + " did not start before and is not tried again: it " + failure->second);
  }
  Start start(child_.emplace(withOneOutput(std::move(arguments), patience)), patience);
  std::string failure = start.waitUntilItSays(listens);
  if (failure.empty()) failure = start.waitUntilItTakesConnections(ports);
  if (failure.empty()) return;
  failures[program] = failure;
  throw std::runtime_error(name + " did not start: it " + failure);
}
