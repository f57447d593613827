// What connections need of the system's sockets; one source file for each system.
#pragma once

#include <httplib.h>

#include <cstddef>

namespace standin {

/// Keeps a port from being listened on by two, and lets it be listened on again as soon as its server has ended. Called
/// before a socket is bound.
void claimAddress(socket_t socket) noexcept;

/// Has small pieces sent at once, and keeps the socket from being inherited by programs that this one starts.
void prepareSocket(socket_t socket) noexcept;

/// Both wait until something was moved. @return how much; 0 at the end of what comes, less than 0 on a failure
ssize_t receiveBytes(socket_t socket, char* target, std::size_t size) noexcept;
ssize_t sendBytes(socket_t socket, const char* bytes, std::size_t size) noexcept;

/// Ends all reading and writing at once, calls that wait included; from any thread.
void shutDownSocket(socket_t socket) noexcept;

/// Makes the coming close send a reset.
void resetAtClose(socket_t socket) noexcept;

void closeSocket(socket_t socket) noexcept;

}  // namespace standin
