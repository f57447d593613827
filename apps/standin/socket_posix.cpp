#include "socket.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

namespace standin {
namespace {

int toDescriptor(Socket socket) noexcept { return static_cast<int>(socket); }

template <class Value>
void setOption(Socket socket, int level, int option, const Value& value) noexcept {
  ::setsockopt(toDescriptor(socket), level, option, &value, sizeof value);
}

/// Calls `move` until no signal has come in between.
template <class Move>
std::ptrdiff_t repeatWhenInterrupted(const Move& move) noexcept {
  std::ptrdiff_t moved = -1;
  do {
    moved = move();
  } while (moved < 0 && errno == EINTR);
  return moved;
}

Socket listenAt(const addrinfo& address) noexcept {
  const int listener = ::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC, address.ai_protocol);
  if (listener < 0) return kNoSocket;
  setOption(listener, SOL_SOCKET, SO_REUSEADDR, 1);
  if (address.ai_family == AF_INET6) setOption(listener, IPPROTO_IPV6, IPV6_V6ONLY, 0);
  if (::bind(listener, address.ai_addr, address.ai_addrlen) == 0 && ::listen(listener, SOMAXCONN) == 0) return listener;
  ::close(listener);
  return kNoSocket;
}

}  // namespace

Socket listenOn(const std::string& host, int port) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return kNoSocket;
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
  Socket listener = kNoSocket;
  for (; found != nullptr && listener == kNoSocket; found = found->ai_next) listener = listenAt(*found);
  return listener;
}

int portOf(Socket socket) noexcept {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (::getsockname(toDescriptor(socket), reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  if (address.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

Socket acceptConnection(Socket listener) noexcept {
  const int socket = ::accept4(toDescriptor(listener), nullptr, nullptr, SOCK_CLOEXEC);
  if (socket < 0) {
    // Without free descriptors the next call would fail at once, too.
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return kNoSocket;
  }
  setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
  return socket;
}

std::ptrdiff_t receiveBytes(Socket socket, char* target, std::size_t size) noexcept {
  return repeatWhenInterrupted([&] { return ::recv(toDescriptor(socket), target, size, 0); });
}

std::ptrdiff_t sendBytes(Socket socket, const char* bytes, std::size_t size) noexcept {
  return repeatWhenInterrupted([&] { return ::send(toDescriptor(socket), bytes, size, MSG_NOSIGNAL); });
}

void endSending(Socket socket) noexcept { ::shutdown(toDescriptor(socket), SHUT_WR); }

void shutDownSocket(Socket socket) noexcept { ::shutdown(toDescriptor(socket), SHUT_RDWR); }

void resetAtClose(Socket socket) noexcept {
  setOption(socket, SOL_SOCKET, SO_LINGER, linger{.l_onoff = 1, .l_linger = 0});
}

void closeSocket(Socket socket) noexcept { ::close(toDescriptor(socket)); }

void blockBrokenPipeSignal() noexcept {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace standin
