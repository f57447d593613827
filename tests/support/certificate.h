// Certificates as a test wants them, right or wrong; made with their keys while it runs.
#pragma once

#include <openssl/types.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What a certificate says. As it is, it is for nothing and nobody.
struct CertificateContent {
  enum class Key { EC256, RSA2048, RSA1024 };
  enum class Digest { SHA256, SHA1 };

  std::string commonName{};                           // none: no name at all
  std::vector<std::string> hosts{};                   // in the field for them; any bytes
  std::vector<std::pair<int, std::string>> fields{};  // further ones: OpenSSL's number, text as in its configuration
  std::chrono::seconds begins = std::chrono::hours(-240);  // from now
  std::chrono::seconds ends = std::chrono::hours(24);
  Key key = Key::EC256;
  Digest digest = Digest::SHA256;  // of the signature
};

/// A certificate with its key.
class Certificate {
 public:
  /// Signed by `issuer`; null: by itself.
  explicit Certificate(const CertificateContent& content, const Certificate* issuer = nullptr);

  X509* get() const { return certificate_.get(); }
  EVP_PKEY* getKey() const { return key_.get(); }

  /// Makes the signature a wrong one.
  void spoilSignature();

  /// As PEM.
  void write(const std::filesystem::path& path) const;
  void writeKey(const std::filesystem::path& path) const;

 private:
  std::shared_ptr<EVP_PKEY> key_;
  std::shared_ptr<X509> certificate_;
};

/// What an authority's certificate says.
CertificateContent authorityContent(const std::string& name);
/// What a server's says.
CertificateContent serverContent(const std::string& host);
