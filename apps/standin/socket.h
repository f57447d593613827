// The system's sockets, as far as the stand-in needs them; one source file for each system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace standin {

/// A socket of the system's; wide enough for any of them.
using Socket = std::intptr_t;
constexpr Socket kNoSocket = -1;

/// Listens on `port` of `host`, on any free one when that is 0. No two listen on the same port, and a port can be
/// listened on again as soon as its server has ended. @return kNoSocket when the address can't be used
Socket listenOn(const std::string& host, int port);

/// The port of this end; 0 when `socket` is none.
int portOf(Socket socket) noexcept;

/// The next connection: small pieces are sent at once, and programs that this one starts do not inherit it.
/// @return kNoSocket when none came for a while, none can be taken, or the listener has been shut down
Socket acceptConnection(Socket listener) noexcept;

/// Both wait until something was moved. @return how much; 0 at the end of what comes, less than 0 on a failure
std::ptrdiff_t receiveBytes(Socket socket, char* target, std::size_t size) noexcept;
std::ptrdiff_t sendBytes(Socket socket, const char* bytes, std::size_t size) noexcept;

/// Tells the other end that nothing more comes; what it sends can still be read.
void endSending(Socket socket) noexcept;

/// Ends all reading, writing and accepting at once, calls that wait included; from any thread.
void shutDownSocket(Socket socket) noexcept;

/// Makes the coming close send a reset.
void resetAtClose(Socket socket) noexcept;

void closeSocket(Socket socket) noexcept;

/// Keeps a write of OpenSSL's, to a client that went, from ending the process by a signal in this thread and in those
/// that it starts.
void blockBrokenPipeSignal() noexcept;

/// Closes its socket, if there is one, in the end.
class OwnedSocket {
 public:
  explicit OwnedSocket(Socket socket) noexcept : socket_(socket) {}
  ~OwnedSocket() {
    if (socket_ != kNoSocket) closeSocket(socket_);
  }
  OwnedSocket(const OwnedSocket&) = delete;
  OwnedSocket& operator=(const OwnedSocket&) = delete;

  Socket get() const noexcept { return socket_; }

 private:
  const Socket socket_;
};

}  // namespace standin
