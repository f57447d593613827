// The HTTP library starts and ends the use of sockets (WSAStartup) in every source file that includes it.
#include "socket.h"

#include <windows.h>
#include <winsock2.h>

#include <algorithm>
#include <climits>

namespace standin {
namespace {

template <class Value>
void setOption(socket_t socket, int level, int option, const Value& value) noexcept {
  ::setsockopt(socket, level, option, reinterpret_cast<const char*>(&value), sizeof value);
}

int withinInt(std::size_t size) noexcept { return static_cast<int>(std::min<std::size_t>(size, INT_MAX)); }

}  // namespace

// SO_REUSEADDR would let anyone listen on the port, too; that a port can be used again at once goes without saying.
void claimAddress(socket_t socket) noexcept { setOption(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, BOOL{TRUE}); }

void prepareSocket(socket_t socket) noexcept {
  // A socket that a layered provider made may be no handle of the system's; it is used all the same.
  static_cast<void>(SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0));
  setOption(socket, IPPROTO_TCP, TCP_NODELAY, BOOL{TRUE});
}

ssize_t receiveBytes(socket_t socket, char* target, std::size_t size) noexcept {
  return ::recv(socket, target, withinInt(size), 0);
}

ssize_t sendBytes(socket_t socket, const char* bytes, std::size_t size) noexcept {
  return ::send(socket, bytes, withinInt(size), 0);
}

void shutDownSocket(socket_t socket) noexcept {
  ::shutdown(socket, SD_BOTH);
  // It is nowhere promised that shutdown ends calls that wait already.
  CancelIoEx(reinterpret_cast<HANDLE>(socket), nullptr);
}

void resetAtClose(socket_t socket) noexcept { setOption(socket, SOL_SOCKET, SO_LINGER, linger{1, 0}); }

void closeSocket(socket_t socket) noexcept { ::closesocket(socket); }

}  // namespace standin
