// Turns over TLS: verified, on one connection, and refused when the certificate is not right.
#include "fixture.h"
#include "support/platform.h"
#include "support/test_ca.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

standin::Options tlsOptions(const TestCA::Names& certificate) {
  return {.apiKey = kKey, .certificateFile = certificate.certificateFile, .privateKeyFile = certificate.keyFile};
}

void trust(const TestCA& authority) {
  CMRestGlobalSettings settings;
  settings.caFile = authority.getFile();
  QAISetHTTPSettings(settings);
}

class OverTLS : public testing::TestWithParam<TestedService> {
 protected:
  ~OverTLS() override { QAISetHTTPSettings({}); }

  /// A turn with a stand-in that shows `certificate`; the answer, or the error behind "error: ".
  static std::string turnWith(const TestCA::Names& certificate) {
    const standin::Server server(tlsOptions(certificate));
    const Owned<IQAIAssistant> assistant(
        QAICreateAssistant(GetParam().type, CF::createHTTPPoolCenter(), kKey, server.address()));
    assign(*assistant, {{"model", GetParam().model}});
    const auto session = newSession(*assistant);
    std::string answer = ask(*assistant, session.get(), "question");
    // What a server has not proven to be is told nothing.
    EXPECT_EQ(server.requests().size(), answer.starts_with("error: ") ? 0U : 1U);
    return answer;
  }

  const TestCA authority_;
};
INSTANTIATE_TEST_SUITE_P(Chat, OverTLS, testing::ValuesIn(chatServices()), serviceName);

TEST_P(OverTLS, ConversationIsVerifiedAndKeepsItsConnection) {
  trust(authority_);
  standin::Server server(tlsOptions(authority_.issue("localhost")));
  const Owned<IQAIAssistant> assistant(
      QAICreateAssistant(GetParam().type, CF::createHTTPPoolCenter(), kKey, server.address()));
  EXPECT_EQ(assistant->obtainAvailableModels().second, "");
  assign(*assistant, {{"model", GetParam().model}});
  const auto session = newSession(*assistant);
  for (int i = 0; i < 3; ++i) {
    EXPECT_THAT(ask(*assistant, session.get(), "question"), Not(StartsWith("error: ")));
  }
  EXPECT_EQ(server.requests().size(), 4U);
  EXPECT_EQ(server.connectionCount(), GetParam().usesPool ? 1U : 4U);
}

TEST_P(OverTLS, UnknownAuthorityIsRefused) {
  if (isWine()) GTEST_SKIP() << "Wine's Schannel takes any certificate when the settings name no authority";
  EXPECT_THAT(turnWith(authority_.issue("localhost")), HasSubstr("The certificate of localhost:"));
}

TEST_P(OverTLS, AnotherAuthoritysCertificateIsRefused) {
  const TestCA other;
  trust(other);
  EXPECT_THAT(turnWith(authority_.issue("localhost")), HasSubstr("The certificate of localhost:"));
}

TEST_P(OverTLS, AnotherHostsCertificateIsRefused) {
  trust(authority_);
  EXPECT_THAT(turnWith(authority_.issue("elsewhere.example")), HasSubstr("The certificate of localhost:"));
}

TEST_P(OverTLS, ExpiredCertificateIsRefused) {
  trust(authority_);
  EXPECT_THAT(turnWith(authority_.issue("localhost", std::chrono::hours(-1))),
              HasSubstr("The certificate of localhost:"));
}

}  // namespace
