// A real front server: TLS and compression before a service.
#pragma once

#include "server_program.h"
#include "support/temporary_folder.h"
#include "support/test_ca.h"

#include <array>
#include <optional>
#include <string>

class Nginx {
 public:
  /// Passes all requests on to `service` ("http://127.0.0.1:80"). Offers HTTP/2 and HTTP/1.1, with a certificate of
  /// `authority` for "localhost". `further` are lines of its configuration.
  Nginx(const TestCA& authority, const std::string& service, const std::string& further = "");

  std::string url() const { return "https://localhost:" + ports_[0].text(); }
  int port() const { return ports_[0].number(); }

  /// What it says of the next exchange that it has completed: "POST 200 HTTP/1.1 http/1.1 gzip" are the method, the
  /// status, the version, what was agreed upon for it, and the encoding of the reply ("-": none).
  std::string readExchange();
  /// The number of the connection that the last exchange was on.
  std::string connection() const { return connection_; }
  /// Returns when nginx has ended each connection to it, and the ends have arrived here.
  /// @throw std::runtime_error when one stays for a minute
  void awaitEndOfConnections() const;

 private:
  std::array<ReservedPort, 1> ports_;
  TemporaryFolder folder_{"qai-nginx"};
  std::optional<ServerProgram> program_;
  std::string connection_;
};
