#include "support/certificate.h"

#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <fstream>
#include <stdexcept>

namespace {

using Buffer = std::unique_ptr<BIO, decltype(&BIO_free_all)>;

void require(bool done) {
  if (!done) throw std::runtime_error("The test's certificates can't be made");
}

std::shared_ptr<EVP_PKEY> makeKey(CertificateContent::Key kind) {
  using Key = CertificateContent::Key;
  EVP_PKEY* key = kind == Key::EC256 ? EVP_EC_gen("P-256") : EVP_RSA_gen(kind == Key::RSA2048 ? 2048U : 1024U);
  require(key != nullptr);
  return {key, &EVP_PKEY_free};
}

void setNames(X509* certificate, const CertificateContent& content) {
  if (!content.commonName.empty()) {
    const auto* text = reinterpret_cast<const unsigned char*>(content.commonName.data());
    X509_NAME* name = X509_get_subject_name(certificate);
    const int size = static_cast<int>(content.commonName.size());
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, size, -1, 0) == 1);
  }
  if (content.hosts.empty()) return;
  const std::unique_ptr<GENERAL_NAMES, decltype(&GENERAL_NAMES_free)> names(GENERAL_NAMES_new(), &GENERAL_NAMES_free);
  for (const std::string& host : content.hosts) {
    GENERAL_NAME* name = GENERAL_NAME_new();
    ASN1_IA5STRING* text = ASN1_IA5STRING_new();
    require(ASN1_STRING_set(text, host.data(), static_cast<int>(host.size())) == 1);
    GENERAL_NAME_set0_value(name, GEN_DNS, text);
    require(sk_GENERAL_NAME_push(names.get(), name) > 0);
  }
  require(X509_add1_ext_i2d(certificate, NID_subject_alt_name, names.get(), 0, X509V3_ADD_DEFAULT) == 1);
}

void addField(X509* certificate, X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* field = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  require(field != nullptr && X509_add_ext(certificate, field, -1) == 1);
  X509_EXTENSION_free(field);
}

// Whether both numbers of an EC signature take all their bytes.
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
void sign(X509* certificate, EVP_PKEY* key, const EVP_MD* digest) {
  const bool isEC = EVP_PKEY_get_base_id(key) == EVP_PKEY_EC;
  do require(X509_sign(certificate, key, digest) > 0);
  while (isEC && !isOfFullSize(certificate));
}

// OpenSSL writes into memory, and the standard library to where names need not be ASCII.
void writeFile(const std::filesystem::path& path, BIO* content) {
  const char* data = nullptr;
  const long size = BIO_get_mem_data(content, &data);
  std::ofstream file(path, std::ios::binary);
  require(file.write(data, size).flush().good());
}

}  // namespace

Certificate::Certificate(const CertificateContent& content, const Certificate* issuer)
    : key_(makeKey(content.key)), certificate_(X509_new(), &X509_free) {
  static std::atomic<long> serial = 0;
  X509* made = get();
  X509* by = issuer == nullptr ? made : issuer->get();
  X509_set_version(made, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(made), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(made), static_cast<long>(content.begins.count()));
  X509_gmtime_adj(X509_getm_notAfter(made), static_cast<long>(content.ends.count()));
  setNames(made, content);
  require(X509_set_pubkey(made, getKey()) == 1);
  for (const auto& [kind, value] : content.fields) addField(made, by, kind, value);
  X509_set_issuer_name(made, X509_get_subject_name(by));
  sign(made, issuer == nullptr ? getKey() : issuer->getKey(),
       content.digest == CertificateContent::Digest::SHA1 ? EVP_sha1() : EVP_sha256());
}

void Certificate::spoilSignature() {
  const ASN1_BIT_STRING* text = nullptr;
  X509_get0_signature(&text, nullptr, get());
  // The last byte, so that the signature's form stays right.
  const_cast<unsigned char*>(ASN1_STRING_get0_data(text))[ASN1_STRING_length(text) - 1] ^= 1U;
}

void Certificate::write(const std::filesystem::path& path) const {
  const Buffer buffer(BIO_new(BIO_s_mem()), &BIO_free_all);
  require(PEM_write_bio_X509(buffer.get(), get()) == 1);
  writeFile(path, buffer.get());
}

void Certificate::writeKey(const std::filesystem::path& path) const {
  const Buffer buffer(BIO_new(BIO_s_mem()), &BIO_free_all);
  require(PEM_write_bio_PrivateKey(buffer.get(), getKey(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
  writeFile(path, buffer.get());
}

CertificateContent authorityContent(const std::string& name) {
  return {.commonName = name,
          .fields = {{NID_basic_constraints, "critical,CA:TRUE"}, {NID_key_usage, "critical,keyCertSign,cRLSign"}},
          .ends = std::chrono::hours(30 * 24)};
}

CertificateContent serverContent(const std::string& host) {
  return {.commonName = "Test server", .hosts = {host}, .fields = {{NID_ext_key_usage, "serverAuth"}}};
}
