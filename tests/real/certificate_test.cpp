// Whom the library talks to: no server with a bad certificate hears a byte of a request, on whichever way.
#include "certificate_cases.h"
#include "conversation.h"
#include "squid.h"
#include "support/raw_server.h"

#include <openssl/ssl.h>

#include <algorithm>
#include <tuple>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Door = Squid::Door;

enum class Way {
  Direct,
  Tunnel,        // through a proxy
  SecureTunnel,  // through a proxy that is talked to over TLS
  AsProxy        // the server is that proxy
};
constexpr const char* kWayNames[] = {"direct", "tunnel", "secure_tunnel", "as_proxy"};

RawServer serve(TLSContext tls) {
  return RawServer({{raw::Send{raw::reply(200, chatServices().front().modelsBody)}}}, std::move(tls));
}

/// The error of a request with the key; "" when there was none.
std::string requestError(const std::string& host, const TestCA& trusted, const std::string& proxyURL = "") {
  QAISetHTTPSettings(settingsFor(trusted, proxyURL));
  std::string error = makeAssistant(chatServices().front(), host)->obtainAvailableModels().second;
  QAISetHTTPSettings({});
  return error;
}

class OnEachWay : public testing::TestWithParam<std::tuple<CertificateCase, Way>> {
 protected:
  static void TearDownTestSuite() {
    squid_.reset();
    trusted_.reset();
  }
  void SetUp() override {
    if (const std::string lack = obtainServersLack(); !lack.empty()) GTEST_SKIP() << lack;
    if (squid_ != nullptr) return;
    trusted_ = std::make_unique<TestCA>();
    squid_ = std::make_unique<Squid>(*trusted_);
  }

  static const CertificateCase& row() { return std::get<CertificateCase>(GetParam()); }
  static Way way() { return std::get<Way>(GetParam()); }
  static std::string nameOf(const RawServer& server) {
    return (way() == Way::AsProxy ? "the proxy " : "") + std::string(row().host) + ":" +
           std::to_string(server.getPort());
  }

  /// The error of a request with the key to `server`; "" when it answered.
  static std::string call(const RawServer& server) {
    const std::string address = std::string(row().host) + ":" + std::to_string(server.getPort());
    switch (way()) {
      case Way::Direct:
        return requestError("https://" + address, *trusted_);
      case Way::Tunnel:
        return requestError("https://" + address, *trusted_, squid_->url(Door::Password, kProxyPassword));
      case Way::SecureTunnel:
        return requestError("https://" + address, *trusted_, squid_->url(Door::Secure));
      case Way::AsProxy:
        break;
    }
    return requestError("http://api.example", *trusted_, "https://qai:canary@" + address);
  }

  static inline std::unique_ptr<TestCA> trusted_;
  static inline std::unique_ptr<Squid> squid_;
};

std::string nameRow(const testing::TestParamInfo<std::tuple<CertificateCase, Way>>& row) {
  return std::string(std::get<CertificateCase>(row.param).name) + "_" +
         kWayNames[static_cast<std::size_t>(std::get<Way>(row.param))];
}
const auto kWays = testing::Values(Way::Direct, Way::Tunnel, Way::SecureTunnel, Way::AsProxy);

class BadCertificate : public OnEachWay {};
INSTANTIATE_TEST_SUITE_P(All, BadCertificate, testing::Combine(testing::ValuesIn(badCertificates()), kWays), nameRow);

TEST_P(BadCertificate, IsRefusedBeforeAByteOfTheRequestIsSent) {
  const RawServer server = serve(row().make(*trusted_));
  const std::string error = call(server);
  EXPECT_THAT(error, testing::AnyOf(StartsWith("The certificate of " + nameOf(server) + " can't be trusted: "),
                                    StartsWith("No secure connection to " + nameOf(server) + ": ")));
  // Of TLS inside TLS libcurl does not know OpenSSL's reason.
  EXPECT_THAT(error, HasSubstr(way() == Way::SecureTunnel ? "" : row().reason));
  for (const std::string& secret : {kKey, kProxyPassword, std::string("canary")}) expectHidden(secret, error);
  ASSERT_TRUE(server.waitForEnds(1));
  EXPECT_EQ(server.getReceivedBytes(), 0U);
}

/// The reply to who looks at no certificate and takes any version and any cipher.
std::string replyToTheCareless(int port) {
  const TLSContext context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  SSL_CTX_set_cipher_list(context.get(), "ALL:COMPLEMENTOFALL:@SECLEVEL=0");
  SSL_CTX_set_min_proto_version(context.get(), 0);
  SSL_CTX_set_max_cert_list(context.get(), 1 << 24);
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> connection(BIO_new_ssl_connect(context.get()), &BIO_free_all);
  BIO_set_conn_hostname(connection.get(), ("127.0.0.1:" + std::to_string(port)).c_str());
  std::string reply(4096, '\0');
  BIO_puts(connection.get(), "GET / HTTP/1.1\r\n\r\n");
  reply.resize(static_cast<std::size_t>(std::max(0, BIO_read(connection.get(), reply.data(), 4096))));
  return reply;
}

// Else the refusals above would tell of servers that can't serve at all.
TEST(BadServer, AnswersTheCareless) {
  const TestCA trusted;
  for (const CertificateCase& row : badCertificates()) {
    const RawServer server({{raw::Send{raw::reply(200, "{}")}}}, row.make(trusted));
    EXPECT_THAT(replyToTheCareless(server.getPort()), StartsWith("HTTP/1.1 200 ")) << row.name;
  }
}

class TakenCertificate : public OnEachWay {};
INSTANTIATE_TEST_SUITE_P(All, TakenCertificate, testing::Combine(testing::ValuesIn(takenCertificates()), kWays),
                         nameRow);

TEST_P(TakenCertificate, BringsTheRequestThrough) {
  const RawServer server = serve(row().make(*trusted_));
  EXPECT_EQ(call(server), "");
  EXPECT_EQ(server.getRequests().size(), 1U);
}

// OpenSSL asks none of the places that a certificate names, so one that was revoked is taken.
TEST(CertificatesPlaces, AreNotAskedWhetherItWasRevoked) {
  const RawServer places(raw::reply(200, ""));
  CertificateContent content = serverContent("localhost");
  content.fields.emplace_back(NID_crl_distribution_points, "URI:" + places.getURL() + "/revoked");
  content.fields.emplace_back(NID_info_access, "OCSP;URI:" + places.getURL() + "/status");
  const TestCA trusted;
  const RawServer server = serve(makeTLSContext(Certificate(content, &trusted.getCertificate())));
  EXPECT_EQ(requestError("https://localhost:" + std::to_string(server.getPort()), trusted), "");
  EXPECT_EQ(places.getConnections(), 0U);
}

}  // namespace
