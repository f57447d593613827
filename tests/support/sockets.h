// The few socket operations that the tests' servers need; one source file for each system.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sockets {

/// A socket of the system's; wide enough for any of them.
using Handle = std::intptr_t;
constexpr Handle kNone = -1;

/// A listener on a free port of the IPv4 loopback. @throw std::runtime_error when there can be none.
Handle listenOnLoopback();
/// Takes a free port of the IPv4 loopback that refuses connections as long as the socket is open.
/// @throw std::runtime_error when there can be none.
Handle refuseOnLoopback();
/// A connection to `port` of the IPv4 loopback, without delays for small writes; kNone when there is none to be had.
Handle connectToLoopback(int port);
/// The port of this end; 0 when `socket` is none.
int getPort(Handle socket) noexcept;

/// The next connection: without delays for small writes, not inherited by other programs; kNone on failure.
Handle accept(Handle listener) noexcept;
/// Makes accept return, in another thread: with kNone, or with a connection that is nobody's.
void wakeAccept(Handle listener) noexcept;

/// Each gives the number of bytes, 0 at the end of the connection, less on failure. Neither raises a signal.
long receive(Handle socket, char* data, std::size_t size) noexcept;
long send(Handle socket, const char* data, std::size_t size) noexcept;

/// Ends reading and writing in order (FIN), waiting calls included; from any thread.
void shutDown(Handle socket) noexcept;
/// Ends the connection by RST, at once, and closes the socket where the system can do no less.
/// @return what is still to be closed: `socket`, or kNone.
Handle reset(Handle socket) noexcept;
void close(Handle socket) noexcept;

/// Keeps a write of another library's, to a client that went, from ending the process by a signal in this thread.
void blockBrokenPipeSignal() noexcept;

/// This process's own end of the connection to `port` of the loopback; kNone when there is none.
Handle findConnectionTo(int port);
/// Whether programs that this process starts inherit the socket; true as well when there is no such socket.
bool isInherited(Handle socket) noexcept;

}  // namespace sockets
