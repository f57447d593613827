// Certificate authorities and server certificates made while a test runs.
#pragma once

#include "support/raw_server.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

/// An authority with a key of its own; its certificate and those it issues lie as PEM files in a temporary folder that
/// goes with the object.
class TestCA {
 public:
  struct Names {
    std::string certificateFile;
    std::string keyFile;
  };

  TestCA();
  ~TestCA();
  TestCA(const TestCA&) = delete;
  TestCA& operator=(const TestCA&) = delete;

  /// For the client's settings.
  std::string getFile() const;
  /// A certificate for `host` that ends `validity` from now; negative: it has ended.
  Names issue(const std::string& host, std::chrono::seconds validity = std::chrono::hours(24)) const;

 private:
  struct Authority;
  std::filesystem::path folder_;
  std::unique_ptr<Authority> authority_;
  mutable int issued_ = 0;
};

/// A server's TLS. `highestVersion` is OpenSSL's number, 0 for the highest that it has.
TLSContext makeTLSContext(const TestCA::Names& certificate, int highestVersion = 0);
