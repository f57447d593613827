// The services in a process of their own, so that what this one holds is the library's.
#pragma once

#include "support/raw_server.h"

#include <string>

/// Serves from construction to destruction.
class ServerProcess {
 public:
  /// With TLS unless `tls` is null. Made while the process has one thread. @throw std::runtime_error when there can be
  /// no server.
  explicit ServerProcess(const TLSContext& tls);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  const std::string& address() const { return address_; }

 private:
  int end_ = -1;  // the server ends when this is closed
  int process_ = -1;
  std::string address_;
};
