// Servers that are not ours, as Debian has them: started by a test from the files of their packages, never installed.
#pragma once

#include "support/process.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// A file of the packages that ./test unpacks: "usr/sbin/squid".
std::filesystem::path packagedFile(std::string_view name);
/// Why the servers can't run; "" when they can.
std::string obtainServersLack();

/// A port of the IPv4 loopback that is kept for a server, whether it runs or not: nobody else gets it in between, and
/// connections are refused meanwhile.
class ReservedPort {
 public:
  ReservedPort();
  ~ReservedPort();
  ReservedPort(const ReservedPort&) = delete;
  ReservedPort& operator=(const ReservedPort&) = delete;

  int number() const { return number_; }
  std::string text() const { return std::to_string(number_); }

 private:
  int socket_;
  int number_;
};

/// Other users' programs may read `folder`, which servers need that give up root's rights.
void openToAll(const std::filesystem::path& folder);

/// A running server; killed, as by a power cut, with the object.
class ServerProgram {
 public:
  /// Starts it and waits until it has said that it `listens`, in whichever of its outputs, and takes connections. A
  /// program that did not start once is not tried again: each case would wait for it anew.
  /// @throw std::runtime_error with what it said instead, when it ends or `patience` does
  ServerProgram(std::vector<std::string> arguments, std::string_view listens, std::span<const ReservedPort> ports,
                std::chrono::milliseconds patience = std::chrono::seconds(60));

  /// The next line of what it says; nothing when it has ended.
  /// @throw std::runtime_error when none comes in time
  std::optional<std::string> readLine() { return child_->readLine(); }

 private:
  std::optional<Child> child_;
};
