#include "support/sockets.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

int toDescriptor(sockets::Handle socket) noexcept { return static_cast<int>(socket); }

sockaddr* toSocketAddress(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

sockaddr_in onLoopback(int port) noexcept {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<in_port_t>(port));
  return address;
}

// Else a second small write waits for the other end's delayed acknowledgement, 40 ms.
void sendAtOnce(int socket) noexcept {
  const int yes = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

}  // namespace

sockets::Handle sockets::listenOnLoopback() {
  const Handle listener = refuseOnLoopback();
  if (listen(toDescriptor(listener), 64) != 0) throw std::runtime_error("The test server can't listen");
  return listener;
}

sockets::Handle sockets::refuseOnLoopback() {
  sockaddr_in address = onLoopback(0);
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket < 0 || bind(socket, toSocketAddress(address), sizeof address) != 0) {
    throw std::runtime_error("The test server has no port");
  }
  return socket;
}

sockets::Handle sockets::connectToLoopback(int port) {
  sockaddr_in address = onLoopback(port);
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return kNone;
  if (::connect(socket, toSocketAddress(address), sizeof address) != 0) {
    ::close(socket);
    return kNone;
  }
  sendAtOnce(socket);
  return socket;
}

int sockets::getPort(Handle socket) noexcept {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  return getsockname(toDescriptor(socket), toSocketAddress(address), &size) == 0 ? ntohs(address.sin_port) : 0;
}

sockets::Handle sockets::accept(Handle listener) noexcept {
  const int socket = accept4(toDescriptor(listener), nullptr, nullptr, SOCK_CLOEXEC);
  if (socket < 0) return kNone;
  sendAtOnce(socket);
  return socket;
}

void sockets::wakeAccept(Handle listener) noexcept { ::shutdown(toDescriptor(listener), SHUT_RDWR); }

long sockets::receive(Handle socket, char* data, std::size_t size) noexcept {
  return ::recv(toDescriptor(socket), data, size, 0);
}

long sockets::send(Handle socket, const char* data, std::size_t size) noexcept {
  return ::send(toDescriptor(socket), data, size, MSG_NOSIGNAL);
}

void sockets::shutDown(Handle socket) noexcept { ::shutdown(toDescriptor(socket), SHUT_RDWR); }

// Disconnecting makes the kernel send RST at once, while the descriptor stays ours to close.
sockets::Handle sockets::reset(Handle socket) noexcept {
  sockaddr nowhere{};
  nowhere.sa_family = AF_UNSPEC;
  static_cast<void>(::connect(toDescriptor(socket), &nowhere, sizeof nowhere));
  return socket;
}

void sockets::close(Handle socket) noexcept { ::close(toDescriptor(socket)); }

void sockets::blockBrokenPipeSignal() noexcept {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

sockets::Handle sockets::findConnectionTo(int port) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename().string());
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    if (getpeername(descriptor, toSocketAddress(peer), &size) != 0 || peer.sin_family != AF_INET) continue;
    if (ntohs(peer.sin_port) == port) return descriptor;
  }
  return kNone;
}

bool sockets::isInherited(Handle socket) noexcept {
  const int flags = fcntl(toDescriptor(socket), F_GETFD);
  return flags == -1 || (flags & FD_CLOEXEC) == 0;
}
