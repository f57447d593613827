// Whom a secure connection is made to.
#include "rest_caller.h"
#include "support/test_ca.h"

#include <openssl/ssl.h>

#include <chrono>

namespace {

using namespace std::chrono_literals;

class TLS : public testing::Test {
 protected:
  TLS() { caller_.settings.caFile = ca_.getFile(); }

  static std::vector<raw::Script> answer() { return {{raw::Send{raw::reply(200, "{}")}}}; }

  void expectDistrust(const RawServer& server, const std::string& reason) const {
    expectFailure(caller_.get(server.getURL()), CFRestError::TLSFailed,
                  "The certificate of " + nameOf(server) + " can't be trusted: " + reason);
    EXPECT_EQ(server.getRequests().size(), 0U);
  }

  TestCA ca_;
  RestCaller caller_;
};

TEST_F(TLS, ServerOfATrustedAuthorityIsAnswered) {
  RawServer server(answer(), makeTLSContext(ca_.issue("localhost")));
  const RestResult outcome = caller_.get(server.getURL());
  EXPECT_EQ(outcome.code, 0) << outcome.text;
  EXPECT_EQ(server.getRequests().size(), 1U);
}

TEST_F(TLS, AuthorityMustBeNamedInTheSettings) {
  if (isWine()) GTEST_SKIP() << "Wine's Schannel takes any certificate when the settings name no authority";
  RawServer server(answer(), makeTLSContext(ca_.issue("localhost")));
  caller_.settings.caFile.clear();
  expectDistrust(server, usesSchannel() ? "its authority is not trusted" : kAuthorityUnknown);
}

TEST_F(TLS, AnotherAuthorityIsNotTrusted) {
  const TestCA other;
  RawServer server(answer(), makeTLSContext(other.issue("localhost")));
  expectDistrust(server, kAuthorityUnknown);
}

TEST_F(TLS, NameMustBeTheHosts) {
  RawServer server(answer(), makeTLSContext(ca_.issue("other.example")));
  expectDistrust(server, nameDiffersFrom("localhost"));
}

TEST_F(TLS, CertificateMustNotHaveExpired) {
  RawServer server(answer(), makeTLSContext(ca_.issue("localhost", -1h)));
  expectDistrust(server, kExpired);
}

TEST_F(TLS, VersionsBefore12AreRefused) {
  if (isWine()) GTEST_SKIP() << "Wine's Schannel takes no heed of the versions that libcurl switches off";
  for (const int version : {TLS1_VERSION, TLS1_1_VERSION}) {
    RawServer server(answer(), makeTLSContext(ca_.issue("localhost"), version));
    const RestResult outcome = caller_.get(server.getURL());
    EXPECT_EQ(outcome.code, toCode(CFRestError::TLSFailed));
    EXPECT_TRUE(outcome.text.starts_with("No secure connection to " + nameOf(server) + ": ")) << outcome.text;
    EXPECT_EQ(server.getHandshakes(), 0U);
  }
}

TEST_F(TLS, Version12IsTaken) {
  RawServer server(answer(), makeTLSContext(ca_.issue("localhost"), TLS1_2_VERSION));
  EXPECT_EQ(caller_.get(server.getURL()).code, 0);
}

TEST_F(TLS, ServerThatBreaksOffTheHandshakeIsNamed) {
  RawServer server({{raw::Close{}}});
  server.resetAfter(1);
  const RestResult outcome = caller_.get("https://" + nameOf(server));
  EXPECT_EQ(outcome.code, toCode(CFRestError::TLSFailed));
  EXPECT_TRUE(outcome.text.starts_with("No secure connection to " + nameOf(server) + ": ")) << outcome.text;
}

TEST_F(TLS, FileOfAuthoritiesThatCannotBeReadFails) {
  RawServer server(answer(), makeTLSContext(ca_.issue("localhost")));
  caller_.settings.caFile = "/nonexistent/authorities.pem";
  const RestResult outcome = caller_.get(server.getURL());
  EXPECT_EQ(outcome.code, toCode(CFRestError::TLSFailed));
  EXPECT_TRUE(outcome.text.starts_with("No secure connection to " + nameOf(server) + ": problem with the SSL CA cert"))
      << outcome.text;
  EXPECT_EQ(server.getRequests().size(), 0U);
}

TEST_F(TLS, FileOfAuthoritiesMayHaveAnyName) {
  const TestCA ca("qai-ca-\u043a\u043b\u044e\u0447-\U0001F511");  // Cyrillic letters and a picture of a key
  RawServer server(answer(), makeTLSContext(ca.issue("localhost")));
  caller_.settings.caFile = ca.getFile();
  const RestResult outcome = caller_.get(server.getURL());
  EXPECT_EQ(outcome.code, 0) << outcome.text;
}

TEST_F(TLS, ReplyCutInTheBodyIsALostConnection) {
  RawServer server({{raw::Send{"HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n{}"}, raw::Reset{}}},
                   makeTLSContext(ca_.issue("localhost")));
  expectFailure(caller_.get(server.getURL()), CFRestError::ConnectionLost,
                "The connection to " + nameOf(server) + " was lost before the reply was complete");
}

// With SIGPIPE as a process has it by default, a write to a server that went must not end the process.
TEST_F(TLS, ServerThatGoesDuringALargeUploadIsALostConnection) {
  const DefaultBrokenPipeSignal signal;
  const std::string text(std::size_t{8} << 20, 'x');
  COJson json;
  json.setStringReference(text);
  for (int attempt = 0; attempt < 5; ++attempt) {
    RawServer server(answer(), makeTLSContext(ca_.issue("localhost")));
    server.resetAfter(100'000);
    EXPECT_EQ(caller_.post(server.getURL(), &json).code, toCode(CFRestError::ConnectionLost));
  }
}

}  // namespace
