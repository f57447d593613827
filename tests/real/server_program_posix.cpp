#include "server_program.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>

namespace {

// Both outputs in one, which can be read line by line.
Command withOneOutput(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"/bin/sh", "-c", R"(exec "$@" 2>&1)", "sh"});
  return {.arguments = std::move(arguments), .environment = {}, .input = {}};
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
  const sockaddr_in address = loopback(port);
  const bool taken = connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(socket);
  return taken;
}

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
                             std::span<const ReservedPort> ports)
    : child_(withOneOutput(std::move(arguments))) {
  std::string said;
  for (std::string line = readLine(); line.find(listens) == std::string::npos; line = readLine()) {
    if (line.empty()) throw std::runtime_error("A server did not start: " + said);
    said += line + '\n';
  }
  // squid says so a moment before.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (const ReservedPort& port : ports) {
    while (!takesConnections(port.number())) {
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("A server does not listen: " + said);
      std::this_thread::yield();
    }
  }
}
