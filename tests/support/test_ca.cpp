#include "support/test_ca.h"

#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <fstream>
#include <stdexcept>
#include <string_view>

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Buffer = std::unique_ptr<BIO, decltype(&BIO_free_all)>;

constexpr auto kDay = std::chrono::seconds(std::chrono::hours(24));

void require(bool done) {
  if (!done) throw std::runtime_error("The test's certificates can't be made");
}

Key makeKey() { return {EVP_EC_gen("P-256"), &EVP_PKEY_free}; }

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  require(extension != nullptr && X509_add_ext(certificate, extension, -1) == 1);
  X509_EXTENSION_free(extension);
}

// Valid from ten days ago; signing is left to the caller.
Certificate makeCertificate(EVP_PKEY* key, const std::string& name, long serial, std::chrono::seconds validity) {
  Certificate certificate(X509_new(), &X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), static_cast<long>(-(10 * kDay).count()));
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), static_cast<long>(validity.count()));
  const auto* text = reinterpret_cast<const unsigned char*>(name.c_str());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8, text, -1, -1, 0);
  require(X509_set_pubkey(certificate.get(), key) == 1);
  return certificate;
}

// Whether both numbers of the signature take all their bytes.
bool isOfFullSize(const X509* certificate) {
  const ASN1_BIT_STRING* text = nullptr;
  X509_get0_signature(&text, nullptr, certificate);
  const unsigned char* bytes = ASN1_STRING_get0_data(text);
  const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> signature(
      d2i_ECDSA_SIG(nullptr, &bytes, ASN1_STRING_length(text)), &ECDSA_SIG_free);
  require(signature != nullptr);
  constexpr int kSize = 32;
  return BN_num_bytes(ECDSA_SIG_get0_r(signature.get())) == kSize &&
         BN_num_bytes(ECDSA_SIG_get0_s(signature.get())) == kSize;
}

// Wine found one signature in a hundred wrong, and none since both numbers are long; each signing gives others.
void sign(X509* certificate, const X509* issuer, EVP_PKEY* key) {
  X509_set_issuer_name(certificate, X509_get_subject_name(issuer));
  do require(X509_sign(certificate, key, EVP_sha256()) > 0);
  while (!isOfFullSize(certificate));
}

// OpenSSL writes into memory, and the standard library to where names need not be ASCII.
void writeFile(const std::filesystem::path& path, BIO* content) {
  const char* data = nullptr;
  const long size = BIO_get_mem_data(content, &data);
  std::ofstream file(path, std::ios::binary);
  require(file.write(data, size).flush().good());
}

void writeCertificate(const std::filesystem::path& path, X509* certificate) {
  const Buffer buffer(BIO_new(BIO_s_mem()), &BIO_free_all);
  require(PEM_write_bio_X509(buffer.get(), certificate) == 1);
  writeFile(path, buffer.get());
}

void writeKey(const std::filesystem::path& path, EVP_PKEY* key) {
  const Buffer buffer(BIO_new(BIO_s_mem()), &BIO_free_all);
  require(PEM_write_bio_PrivateKey(buffer.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
  writeFile(path, buffer.get());
}

}  // namespace

struct TestCA::Authority {
  explicit Authority(const std::string& name) : certificate(makeCertificate(key.get(), name, 1, 30 * kDay)) {}
  Key key = makeKey();
  Certificate certificate;
};

TestCA::TestCA(std::string_view folder) : folder_(folder) {
  authority_ = std::make_unique<Authority>(toText(folder_.path().filename()));
  X509* certificate = authority_->certificate.get();
  addExtension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
  sign(certificate, certificate, authority_->key.get());
  writeCertificate(folder_.path() / "authority.pem", certificate);
}

TestCA::~TestCA() = default;

std::string TestCA::getFile() const { return toText(folder_.path() / "authority.pem"); }

TestCA::Names TestCA::issue(const std::string& host, std::chrono::seconds validity) const {
  const std::string stem = "server" + std::to_string(++issued_);
  const Key key = makeKey();
  const Certificate certificate = makeCertificate(key.get(), "Test server", 1 + issued_, validity);
  X509* issuer = authority_->certificate.get();
  addExtension(certificate.get(), issuer, NID_subject_alt_name, "DNS:" + host);
  addExtension(certificate.get(), issuer, NID_ext_key_usage, "serverAuth");
  sign(certificate.get(), issuer, authority_->key.get());
  const std::filesystem::path certificateFile = folder_.path() / (stem + ".pem");
  const std::filesystem::path keyFile = folder_.path() / (stem + ".key");
  writeCertificate(certificateFile, certificate.get());
  writeKey(keyFile, key.get());
  return {toText(certificateFile), toText(keyFile)};
}

TLSContext makeTLSContext(const TestCA::Names& certificate, int highestVersion) {
  TLSContext context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
  SSL_CTX_set_cipher_list(context.get(), "DEFAULT:@SECLEVEL=0");  // else OpenSSL itself refuses the old versions
  require(SSL_CTX_set_max_proto_version(context.get(), highestVersion) == 1);
  require(SSL_CTX_use_certificate_file(context.get(), certificate.certificateFile.c_str(), SSL_FILETYPE_PEM) == 1);
  require(SSL_CTX_use_PrivateKey_file(context.get(), certificate.keyFile.c_str(), SSL_FILETYPE_PEM) == 1);
  return context;
}
