// Certificate authorities and server certificates made while a test runs.
#pragma once

#include "support/raw_server.h"
#include "support/temporary_folder.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

/// An authority with a key of its own; its certificate and those it issues lie as PEM files in a temporary folder that
/// goes with the object.
class TestCA {
 public:
  struct Names {  // UTF-8
    std::string certificateFile;
    std::string keyFile;
  };

  /// @param folder (UTF-8) begins the name of the temporary folder.
  explicit TestCA(std::string_view folder = "qai-ca");
  ~TestCA();
  TestCA(const TestCA&) = delete;
  TestCA& operator=(const TestCA&) = delete;

  /// For the client's settings.
  std::string getFile() const;
  /// A certificate for `host` that ends `validity` from now; negative: it has ended.
  Names issue(const std::string& host, std::chrono::seconds validity = std::chrono::hours(24)) const;

 private:
  struct Authority;
  TemporaryFolder folder_;
  std::unique_ptr<Authority> authority_;
  mutable int issued_ = 0;
};

/// A server's TLS. `highestVersion` is OpenSSL's number, 0 for the highest that it has.
TLSContext makeTLSContext(const TestCA::Names& certificate, int highestVersion = 0);
