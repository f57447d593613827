#include "support/sockets.h"

#include <winsock2.h>
// Behind winsock2.h, which replaces a part of it.
#include <windows.h>

#include <algorithm>
#include <climits>
#include <stdexcept>

namespace {

SOCKET toSocket(sockets::Handle socket) noexcept { return static_cast<SOCKET>(socket); }
HANDLE toHandle(sockets::Handle socket) noexcept { return reinterpret_cast<HANDLE>(socket); }

sockaddr* toSocketAddress(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

int toSize(std::size_t size) noexcept { return static_cast<int>(std::min<std::size_t>(size, INT_MAX)); }

sockaddr_in onLoopback(int port) noexcept {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<u_short>(port));
  return address;
}

void sendAtOnce(SOCKET socket) noexcept {
  const BOOL yes = TRUE;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&yes), sizeof yes);
}

// Never undone: the process uses sockets until its end.
void startSockets() {
  static const bool started = [] {
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }();
  if (!started) throw std::runtime_error("There are no sockets");
}

}  // namespace

sockets::Handle sockets::listenOnLoopback() {
  const Handle listener = refuseOnLoopback();
  if (listen(toSocket(listener), 64) != 0) throw std::runtime_error("The test server can't listen");
  return listener;
}

sockets::Handle sockets::refuseOnLoopback() {
  startSockets();
  sockaddr_in address = onLoopback(0);
  const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, 0);
  if (socket == INVALID_SOCKET || bind(socket, toSocketAddress(address), sizeof address) != 0) {
    throw std::runtime_error("The test server has no port");
  }
  SetHandleInformation(toHandle(static_cast<Handle>(socket)), HANDLE_FLAG_INHERIT, 0);
  return static_cast<Handle>(socket);
}

sockets::Handle sockets::connectToLoopback(int port) {
  startSockets();
  sockaddr_in address = onLoopback(port);
  const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, 0);
  if (socket == INVALID_SOCKET) return kNone;
  if (::connect(socket, toSocketAddress(address), sizeof address) != 0) {
    closesocket(socket);
    return kNone;
  }
  SetHandleInformation(toHandle(static_cast<Handle>(socket)), HANDLE_FLAG_INHERIT, 0);
  sendAtOnce(socket);
  return static_cast<Handle>(socket);
}

int sockets::getPort(Handle socket) noexcept {
  sockaddr_in address{};
  int size = sizeof address;
  return getsockname(toSocket(socket), toSocketAddress(address), &size) == 0 ? ntohs(address.sin_port) : 0;
}

sockets::Handle sockets::accept(Handle listener) noexcept {
  const SOCKET socket = ::accept(toSocket(listener), nullptr, nullptr);
  if (socket == INVALID_SOCKET) return kNone;
  SetHandleInformation(toHandle(static_cast<Handle>(socket)), HANDLE_FLAG_INHERIT, 0);
  sendAtOnce(socket);
  return static_cast<Handle>(socket);
}

// Neither is a listener shut down here, nor is it safe to close it under the thread that waits.
void sockets::wakeAccept(Handle listener) noexcept {
  sockaddr_in address = onLoopback(getPort(listener));
  const SOCKET caller = ::socket(AF_INET, SOCK_STREAM, 0);
  ::connect(caller, toSocketAddress(address), sizeof address);
  closesocket(caller);
}

long sockets::receive(Handle socket, char* data, std::size_t size) noexcept {
  return ::recv(toSocket(socket), data, toSize(size), 0);
}

long sockets::send(Handle socket, const char* data, std::size_t size) noexcept {
  return ::send(toSocket(socket), data, toSize(size), 0);
}

void sockets::shutDown(Handle socket) noexcept {
  ::shutdown(toSocket(socket), SD_BOTH);
  CancelIoEx(toHandle(socket), nullptr);  // a call that waits needn't notice the former
}

sockets::Handle sockets::reset(Handle socket) noexcept {
  const linger atOnce{.l_onoff = 1, .l_linger = 0};
  setsockopt(toSocket(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&atOnce), sizeof atOnce);
  closesocket(toSocket(socket));
  return kNone;
}

void sockets::close(Handle socket) noexcept { closesocket(toSocket(socket)); }

void sockets::blockBrokenPipeSignal() noexcept {}  // there is none

// The system has no list of a process's handles; they are small multiples of four.
sockets::Handle sockets::findConnectionTo(int port) {
  constexpr Handle kHighest = 0x4000;
  for (Handle candidate = 4; candidate < kHighest; candidate += 4) {
    sockaddr_in peer{};
    int size = sizeof peer;
    if (getpeername(toSocket(candidate), toSocketAddress(peer), &size) != 0 || peer.sin_family != AF_INET) continue;
    if (ntohs(peer.sin_port) == port) return candidate;
  }
  return kNone;
}

bool sockets::isInherited(Handle socket) noexcept {
  DWORD flags = 0;
  return !GetHandleInformation(toHandle(socket), &flags) || (flags & HANDLE_FLAG_INHERIT) != 0;
}
