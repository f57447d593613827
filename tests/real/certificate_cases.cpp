#include "certificate_cases.h"

#include <openssl/obj_mac.h>
#include <openssl/ssl.h>

#include <ostream>

namespace {

using namespace std::chrono_literals;
using Content = CertificateContent;
using Further = std::vector<Certificate>;
using Change = std::function<void(Content&)>;

// Reasons in the words of libcurl and OpenSSL.
constexpr const char* kExpired = "certificate has expired";
constexpr const char* kUnknownAuthority = "unable to get local issuer certificate";
constexpr const char* kNoAuthority = "invalid CA certificate";
constexpr const char* kWrongName = "no alternative certificate subject name matches";
constexpr const char* kNothingTold = ": SSL connect error";  // of a wrong signature

Content localhostWith(const Change& change) {
  Content content = serverContent("localhost");
  change(content);
  return content;
}

/// A server's certificate of the trusted authority, right but for `change`.
std::function<TLSContext(const TestCA&)> leaf(const Change& change) {
  return [change](const TestCA& trusted) {
    return makeTLSContext(Certificate(localhostWith(change), &trusted.getCertificate()));
  };
}

/// A server's certificate of an authority that the trusted one vouches for; both right but for the changes.
std::function<TLSContext(const TestCA&)> chain(
    const Change& changeMiddle, const Change& changeLeaf = [](Content&) {}) {
  return [=](const TestCA& trusted) {
    Content content = authorityContent("Authority in the middle");
    changeMiddle(content);
    const Certificate middle(content, &trusted.getCertificate());
    return makeTLSContext(Certificate(localhostWith(changeLeaf), &middle), {middle});
  };
}

TLSContext selfSigned(const TestCA& /*trusted*/) { return makeTLSContext(Certificate(serverContent("localhost"))); }

TLSContext ofAnUntrustedAuthority(const TestCA& /*trusted*/) {
  const Certificate authority(authorityContent("Nobody's authority"));
  return makeTLSContext(Certificate(serverContent("localhost"), &authority), {authority});
}

/// As if it were the trusted one: its name, with another key.
TLSContext ofAnAuthorityWithTheName(const TestCA& trusted) {
  const std::string name = toText(toPath(trusted.getFile()).parent_path().filename());
  const Certificate authority(authorityContent(name));
  return makeTLSContext(Certificate(serverContent("localhost"), &authority), {authority});
}

TLSContext withoutTheMiddle(const TestCA& trusted) {
  const Certificate middle(authorityContent("Authority in the middle"), &trusted.getCertificate());
  return makeTLSContext(Certificate(serverContent("localhost"), &middle));
}

TLSContext ofAServer(const TestCA& trusted) {
  const Certificate server(serverContent("localhost"), &trusted.getCertificate());
  return makeTLSContext(Certificate(localhostWith([](Content& leaf) { leaf.commonName = "Another"; }), &server),
                        {server});
}

TLSContext belowTwoMiddles(const TestCA& trusted) {
  Content content = authorityContent("Authority for servers alone");
  content.fields[0].second = "critical,CA:TRUE,pathlen:0";
  const Certificate upper(content, &trusted.getCertificate());
  const Certificate lower(authorityContent("Authority without a right"), &upper);
  return makeTLSContext(Certificate(serverContent("localhost"), &lower), {lower, upper});
}

TLSContext spoilt(const TestCA& trusted) {
  Certificate certificate(serverContent("localhost"), &trusted.getCertificate());
  certificate.spoilSignature();
  return makeTLSContext(certificate);
}

std::function<TLSContext(const TestCA&)> version(int highest) {
  return [highest](const TestCA& trusted) {
    TLSContext context = leaf([](Content&) {})(trusted);
    SSL_CTX_set_max_proto_version(context.get(), highest);
    return context;
  };
}

TLSContext withoutACipher(const TestCA& trusted) {
  TLSContext context = version(TLS1_2_VERSION)(trusted);
  SSL_CTX_set_cipher_list(context.get(), "ECDHE-ECDSA-NULL-SHA:@SECLEVEL=0");
  return context;
}

std::vector<std::string> wrongHosts(int count) {
  std::vector<std::string> hosts;
  for (int i = 0; i < count; ++i) hosts.push_back("localhost" + std::to_string(i) + ".example");
  return hosts;
}

}  // namespace

void PrintTo(const CertificateCase& row, std::ostream* out) { *out << row.name; }

const std::vector<CertificateCase>& badCertificates() {
  static const std::vector<CertificateCase> kCases{
      {"expired", leaf([](Content& leaf) { leaf.ends = -1h; }), kExpired},
      {"not_yet_valid", leaf([](Content& leaf) { leaf.begins = 1h; }), "certificate is not yet valid"},
      {"another_host", leaf([](Content& leaf) { leaf.hosts = {"other.example"}; }), kWrongName},
      {"self_signed", selfSigned, "self-signed certificate"},
      {"untrusted_authority", ofAnUntrustedAuthority, "self-signed certificate in certificate chain"},
      {"authority_of_the_same_name", ofAnAuthorityWithTheName, kNothingTold},
      {"incomplete_chain", withoutTheMiddle, kUnknownAuthority},
      {"expired_middle", chain([](Content& middle) { middle.ends = -1h; }), kExpired},
      {"server_as_authority", ofAServer, kNoAuthority},
      {"middle_that_may_not_sign", chain([](Content& middle) { middle.fields[1].second = "critical,cRLSign"; }),
       kNoAuthority},
      {"path_too_long", belowTwoMiddles, "path length constraint exceeded"},
      {"for_clients", leaf([](Content& leaf) {
         leaf.fields = {{NID_ext_key_usage, "clientAuth"}};
       }),
       "unsuitable certificate purpose"},
      {"outside_the_permitted_names", chain([](Content& middle) {
         middle.fields.emplace_back(NID_name_constraints, "critical,permitted;DNS:example");
       }),
       "permitted subtree violation"},
      {"among_the_excluded_names", chain([](Content& middle) {
         middle.fields.emplace_back(NID_name_constraints, "critical,excluded;DNS:localhost");
       }),
       "excluded subtree violation"},
      {"spoilt_signature", spoilt, kNothingTold},
      {"sha1", leaf([](Content& leaf) { leaf.digest = Content::Digest::SHA1; }), "digest algorithm too weak"},
      {"sha1_in_the_middle", chain([](Content& middle) { middle.digest = Content::Digest::SHA1; }),
       "digest algorithm too weak"},
      {"rsa_of_1024_bits", leaf([](Content& leaf) { leaf.key = Content::Key::RSA1024; }), "key too weak"},
      {"middle_of_1024_bits", chain([](Content& middle) { middle.key = Content::Key::RSA1024; }), "key too weak"},
      {"no_names", leaf([](Content& leaf) { leaf.commonName.clear(), leaf.hosts.clear(); }),
       "unable to obtain common name"},
      {"nul_in_the_name", leaf([](Content& leaf) { leaf.hosts = {std::string("localhost\0.evil.example", 23)}; }),
       kWrongName},
      {"name_alone_beside_other_hosts",
       leaf([](Content& leaf) { leaf.commonName = "localhost", leaf.hosts = {"other.example"}; }), kWrongName},
      {"star", leaf([](Content& leaf) { leaf.hosts = {"*"}; }), kWrongName},
      {"star_below_the_top", leaf([](Content& leaf) { leaf.hosts = {"*.localhost"}; }), kWrongName, "qai.localhost"},
      {"address_for_a_name", leaf([](Content& leaf) {
         leaf.commonName = "localhost", leaf.hosts.clear();
         leaf.fields.emplace_back(NID_subject_alt_name, "IP:127.0.0.1");
       }),
       kWrongName},
      {"name_for_an_address", leaf([](Content& leaf) { leaf.hosts = {"127.0.0.1"}; }), kWrongName, "127.0.0.1"},
      {"a_thousand_other_hosts", leaf([](Content& leaf) { leaf.hosts = wrongHosts(1000); }), kWrongName},
      {"ten_thousand_other_hosts", leaf([](Content& leaf) { leaf.hosts = wrongHosts(10'000); }),
       "excessive message size"},
      {"unknown_critical_field",
       leaf([](Content& leaf) { leaf.fields.emplace_back(NID_netscape_comment, "critical,unknown"); }),
       "unhandled critical extension"},
      {"tls_1_0", version(TLS1_VERSION), "protocol version"},
      {"tls_1_1", version(TLS1_1_VERSION), "protocol version"},
      {"null_cipher", withoutACipher, "handshake failure"},
  };
  return kCases;
}

const std::vector<CertificateCase>& takenCertificates() {
  static const std::vector<CertificateCase> kCases{
      {"right", leaf([](Content&) {}), ""},
      {"with_a_middle", chain([](Content&) {}), ""},
      {"tls_1_2", version(TLS1_2_VERSION), ""},
      {"rsa_of_2048_bits", leaf([](Content& leaf) { leaf.key = Content::Key::RSA2048; }), ""},
      {"star", leaf([](Content& leaf) { leaf.hosts = {"*.qai.localhost"}; }), "", "host.qai.localhost"},
      {"address", leaf([](Content& leaf) {
         leaf.hosts.clear();
         leaf.fields.emplace_back(NID_subject_alt_name, "IP:127.0.0.1");
       }),
       "", "127.0.0.1"},
      // What was never given a field for hosts may still name one the old way.
      {"name_alone", leaf([](Content& leaf) { leaf.commonName = "localhost", leaf.hosts.clear(); }), ""},
  };
  return kCases;
}
