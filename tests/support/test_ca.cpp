#include "support/test_ca.h"

#include <openssl/ssl.h>

#include <stdexcept>

namespace {

void require(bool done) {
  if (!done) throw std::runtime_error("The test server's TLS can't be set up");
}

// Without the bounds of OpenSSL's own and of the system's configuration.
TLSContext makeLaxContext() {
  TLSContext context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
  SSL_CTX_set_cipher_list(context.get(), "DEFAULT:@SECLEVEL=0");
  require(SSL_CTX_set_min_proto_version(context.get(), 0) == 1);
  return context;
}

}  // namespace

TestCA::TestCA(std::string_view folder)
    : folder_(folder), certificate_(authorityContent(toText(folder_.path().filename()))) {
  certificate_.write(folder_.path() / "authority.pem");
}

std::string TestCA::getFile() const { return toText(folder_.path() / "authority.pem"); }

TestCA::Names TestCA::issue(const std::string& host, std::chrono::seconds validity) const {
  const std::string stem = "server" + std::to_string(++issued_);
  CertificateContent content = serverContent(host);
  content.ends = validity;
  const Certificate certificate(content, &certificate_);
  const std::filesystem::path certificateFile = folder_.path() / (stem + ".pem");
  const std::filesystem::path keyFile = folder_.path() / (stem + ".key");
  certificate.write(certificateFile);
  certificate.writeKey(keyFile);
  return {toText(certificateFile), toText(keyFile)};
}

TLSContext makeTLSContext(const TestCA::Names& certificate, int highestVersion) {
  TLSContext context = makeLaxContext();
  require(SSL_CTX_set_max_proto_version(context.get(), highestVersion) == 1);
  require(SSL_CTX_use_certificate_file(context.get(), certificate.certificateFile.c_str(), SSL_FILETYPE_PEM) == 1);
  require(SSL_CTX_use_PrivateKey_file(context.get(), certificate.keyFile.c_str(), SSL_FILETYPE_PEM) == 1);
  return context;
}

TLSContext makeTLSContext(const Certificate& certificate, const std::vector<Certificate>& further) {
  TLSContext context = makeLaxContext();
  require(SSL_CTX_use_certificate(context.get(), certificate.get()) == 1);
  require(SSL_CTX_use_PrivateKey(context.get(), certificate.getKey()) == 1);
  for (const Certificate& shown : further) require(SSL_CTX_add1_chain_cert(context.get(), shown.get()) == 1);
  return context;
}
