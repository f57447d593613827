#include "socket.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace standin {
namespace {

constexpr int kOn = 1;

/// Calls `move` until no signal has come in between.
template <class Move>
ssize_t repeatWhenInterrupted(const Move& move) noexcept {
  ssize_t moved = -1;
  do {
    moved = move();
  } while (moved < 0 && errno == EINTR);
  return moved;
}

}  // namespace

void claimAddress(socket_t socket) noexcept { ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &kOn, sizeof kOn); }

void prepareSocket(socket_t socket) noexcept {
  // A child process that held the socket too would keep the connection alive past our close.
  ::fcntl(socket, F_SETFD, FD_CLOEXEC);
  ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &kOn, sizeof kOn);
}

ssize_t receiveBytes(socket_t socket, char* target, std::size_t size) noexcept {
  return repeatWhenInterrupted([&] { return ::recv(socket, target, size, 0); });
}

ssize_t sendBytes(socket_t socket, const char* bytes, std::size_t size) noexcept {
  return repeatWhenInterrupted([&] { return ::send(socket, bytes, size, MSG_NOSIGNAL); });
}

void shutDownSocket(socket_t socket) noexcept { ::shutdown(socket, SHUT_RDWR); }

void resetAtClose(socket_t socket) noexcept {
  const linger atOnce{.l_onoff = 1, .l_linger = 0};
  ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

void closeSocket(socket_t socket) noexcept { ::close(socket); }

}  // namespace standin
