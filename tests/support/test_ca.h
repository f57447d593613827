// Certificate authorities and server certificates made while a test runs.
#pragma once

#include "support/certificate.h"
#include "support/raw_server.h"
#include "support/temporary_folder.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

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

  const Certificate& getCertificate() const { return certificate_; }
  /// For the client's settings.
  std::string getFile() const;
  /// A certificate for `host` that ends `validity` from now; negative: it has ended.
  Names issue(const std::string& host, std::chrono::seconds validity = std::chrono::hours(24)) const;

 private:
  TemporaryFolder folder_;
  Certificate certificate_;
  mutable int issued_ = 0;
};

/// A server's TLS. `highestVersion` is OpenSSL's number, 0 for the highest that it has.
TLSContext makeTLSContext(const TestCA::Names& certificate, int highestVersion = 0);
/// The same with a certificate that is no file, and with what the server shows besides. It takes any version, and what
/// else OpenSSL would be too strict for.
TLSContext makeTLSContext(const Certificate& certificate, const std::vector<Certificate>& further = {});
