#include "socket.h"

#include <winsock2.h>
#include <ws2tcpip.h>
// Behind winsock2.h, which replaces a part of it.
#include <windows.h>

#include <algorithm>
#include <climits>
#include <memory>

namespace standin {
namespace {

SOCKET toSocket(Socket socket) noexcept { return static_cast<SOCKET>(socket); }
HANDLE toHandle(Socket socket) noexcept { return reinterpret_cast<HANDLE>(socket); }

template <class Value>
void setOption(Socket socket, int level, int option, const Value& value) noexcept {
  ::setsockopt(toSocket(socket), level, option, reinterpret_cast<const char*>(&value), sizeof value);
}

int withinInt(std::size_t size) noexcept { return static_cast<int>(std::min<std::size_t>(size, INT_MAX)); }

// A socket that a layered provider made may be no handle of the system's; it is used all the same.
void keepFromHeirs(Socket socket) noexcept {
  static_cast<void>(SetHandleInformation(toHandle(socket), HANDLE_FLAG_INHERIT, 0));
}

// Never undone: the process may use sockets until its end.
bool startSockets() noexcept {
  static const bool started = [] {
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }();
  return started;
}

Socket listenAt(const addrinfo& address) noexcept {
  const SOCKET created = ::socket(address.ai_family, address.ai_socktype, address.ai_protocol);
  if (created == INVALID_SOCKET) return kNoSocket;
  const auto listener = static_cast<Socket>(created);
  keepFromHeirs(listener);
  // SO_REUSEADDR would let anyone listen on the port, too; that a port can be used again at once goes without saying.
  setOption(listener, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, BOOL{TRUE});
  if (address.ai_family == AF_INET6) setOption(listener, IPPROTO_IPV6, IPV6_V6ONLY, DWORD{0});
  if (::bind(created, address.ai_addr, withinInt(address.ai_addrlen)) == 0 && ::listen(created, SOMAXCONN) == 0) {
    return listener;
  }
  closeSocket(listener);
  return kNoSocket;
}

}  // namespace

Socket listenOn(const std::string& host, int port) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (!startSockets()) return kNoSocket;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return kNoSocket;
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
  Socket listener = kNoSocket;
  for (; found != nullptr && listener == kNoSocket; found = found->ai_next) listener = listenAt(*found);
  return listener;
}

int portOf(Socket socket) noexcept {
  sockaddr_storage address{};
  int size = sizeof address;
  if (::getsockname(toSocket(socket), reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  if (address.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

// Nothing ends a call that waits in accept but closing the listener, whose number another socket could have by then.
Socket acceptConnection(Socket listener) noexcept {
  fd_set listeners{};
  FD_SET(toSocket(listener), &listeners);
  timeval aWhile{.tv_sec = 0, .tv_usec = 10'000};
  if (::select(0, &listeners, nullptr, nullptr, &aWhile) <= 0) return kNoSocket;
  const SOCKET accepted = ::accept(toSocket(listener), nullptr, nullptr);
  if (accepted == INVALID_SOCKET) return kNoSocket;
  const auto socket = static_cast<Socket>(accepted);
  keepFromHeirs(socket);
  setOption(socket, IPPROTO_TCP, TCP_NODELAY, BOOL{TRUE});
  return socket;
}

std::ptrdiff_t receiveBytes(Socket socket, char* target, std::size_t size) noexcept {
  return ::recv(toSocket(socket), target, withinInt(size), 0);
}

std::ptrdiff_t sendBytes(Socket socket, const char* bytes, std::size_t size) noexcept {
  return ::send(toSocket(socket), bytes, withinInt(size), 0);
}

void endSending(Socket socket) noexcept { ::shutdown(toSocket(socket), SD_SEND); }

void shutDownSocket(Socket socket) noexcept {
  ::shutdown(toSocket(socket), SD_BOTH);
  // It is nowhere promised that shutdown ends calls that wait already.
  CancelIoEx(toHandle(socket), nullptr);
}

void resetAtClose(Socket socket) noexcept {
  setOption(socket, SOL_SOCKET, SO_LINGER, linger{.l_onoff = 1, .l_linger = 0});
}

void closeSocket(Socket socket) noexcept { ::closesocket(toSocket(socket)); }

void blockBrokenPipeSignal() noexcept {}  // there is none

}  // namespace standin
