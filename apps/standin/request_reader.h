// Reads requests from a connection, by RFC 9112. What can be read in two ways is refused.
#pragma once

#include "connection.h"
#include "standin.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace standin {

/// A request, with what its head says of the reply.
struct Arrival {
  Request request;
  bool isLast = false;       // the client wants the connection to end behind the reply
  bool takesChunks = false;  // so does everyone since HTTP/1.1
};

class RequestReader {
 public:
  explicit RequestReader(Connection& connection) : connection_(connection) {}

  /// Waits for the next request and reads all of it. @return nothing when there is none that can be read
  std::optional<Arrival> read();
  /// The status by which to refuse what could not be read; 0: the connection has ended.
  int refusal() const noexcept { return refusal_; }

 private:
  bool refuse(int status) noexcept;
  bool readLine(std::string& line);
  bool readHead();
  bool readRequestLine(std::string_view line);
  bool readHeader(std::string_view line);
  bool checkHead();
  bool readBody();
  bool agreeToBody();
  bool readChunks();
  bool skipTrailers();
  bool take(std::size_t size, std::string& target);

  Connection& connection_;
  Arrival arrival_;
  std::size_t room_ = 0;  // for further lines
  int refusal_ = 0;
};

}  // namespace standin
