// Conversations with services behind nginx: encrypted, compressed, and with its own pages when something is wrong.
#include "nginx.h"

#include "conversation.h"

#include <openssl/ssl.h>
#include <standin.h>

#include <optional>

namespace {

using testing::StartsWith;

const std::string kPage502 = "<html>\r\n<head><title>502 Bad Gateway</title></head>";
const std::string kPage413 = "<html>\r\n<head><title>413 Request Entity Too Large</title></head>";

class BehindNginx : public testing::TestWithParam<TestedService> {
 protected:
  void SetUp() override {
    if (const std::string lack = obtainServersLack(); !lack.empty()) GTEST_SKIP() << lack;
    QAISetHTTPSettings(settingsFor(authority_));
  }
  void TearDown() override { QAISetHTTPSettings({}); }

  /// An assistant at `nginx` with a model and a session.
  void meet(const Nginx& nginx) {
    assistant_ = makeAssistant(GetParam(), nginx.url());
    EXPECT_EQ(assign(*assistant_, {{"model", GetParam().model}}), "");
    session_ = newSession(*assistant_);
    ASSERT_NE(session_, nullptr);
  }
  std::string askHere(const std::string& text) { return ask(*assistant_, session_.get(), text); }
  void expectAnswer() { EXPECT_THAT(askHere("question"), testing::Not(StartsWith("error: "))); }

  const TestCA authority_;
  Owned<IQAIAssistant> assistant_;
  Owned<IQAISession> session_;
};
INSTANTIATE_TEST_SUITE_P(All, BehindNginx, testing::ValuesIn(allServices()),
                         [](const auto& row) { return std::string(row.param.name); });

/// What nginx agrees to with who would take HTTP/2 or HTTP/1.1.
std::string agreeOnVersion(int port) {
  const TLSContext context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  constexpr unsigned char kOffer[] = "\x02h2\x08http/1.1";
  SSL_CTX_set_alpn_protos(context.get(), kOffer, sizeof kOffer - 1);
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> connection(BIO_new_ssl_connect(context.get()), &BIO_free_all);
  BIO_set_conn_hostname(connection.get(), ("127.0.0.1:" + std::to_string(port)).c_str());
  SSL* tls = nullptr;
  BIO_get_ssl(connection.get(), &tls);
  const unsigned char* agreed = nullptr;
  unsigned int size = 0;
  if (BIO_do_handshake(connection.get()) == 1) SSL_get0_alpn_selected(tls, &agreed, &size);
  return {reinterpret_cast<const char*>(agreed), size};
}

TEST_P(BehindNginx, ConversationIsCompressedAndInHTTP11ThoughHTTP2IsOffered) {
  const standin::Server service({.apiKey = kKey});
  Nginx nginx(authority_, service.address());
  EXPECT_EQ(agreeOnVersion(nginx.port()), "h2");
  EXPECT_EQ(converse(*makeAssistant(GetParam(), nginx.url()), GetParam()), "");
  EXPECT_GE(service.requests().size(), 3U);
  for (const standin::Request& request : service.requests()) {
    EXPECT_EQ(nginx.readExchange(), request.method + " 200 HTTP/1.1 http/1.1 gzip");
  }
}

TEST_P(BehindNginx, ConversationGoesOnWhenEachConnectionServesOneRequest) {
  const standin::Server service({.apiKey = kKey});
  Nginx nginx(authority_, service.address(), "keepalive_requests 1;");
  EXPECT_EQ(converse(*makeAssistant(GetParam(), nginx.url()), GetParam()), "");
  std::string before;
  for (const standin::Request& request : service.requests()) {
    EXPECT_THAT(nginx.readExchange(), StartsWith(request.method + " 200 "));
    EXPECT_NE(nginx.connection(), before);
    before = nginx.connection();
  }
}

// The end comes unannounced, and long enough after a request that it crosses none of the same turn: a request that it
// crosses is lost, and nobody can know whether the service has acted.
TEST_P(BehindNginx, ConversationGoesOnWhenIdleConnectionsWereClosed) {
  const standin::Server service({.apiKey = kKey});
  const Nginx nginx(authority_, service.address(), "keepalive_timeout 250ms;");
  meet(nginx);
  for (int turn = 0; turn < 3; ++turn) {
    expectAnswer();
    nginx.awaitEndOfConnections();
  }
  expectAnswer();
}

TEST_P(BehindNginx, PageIsTheErrorWhenTheServiceIsGone) {
  std::optional<standin::Server> service(std::in_place, standin::Options{.apiKey = kKey});
  const Nginx nginx(authority_, service->address());
  meet(nginx);
  expectAnswer();
  const std::string saved = session_->obtainSessionData();
  service.reset();
  EXPECT_THAT(askHere("question"), StartsWith("error: " + kPage502));
  EXPECT_THAT(assistant_->obtainAvailableModels().second, StartsWith(kPage502));
  EXPECT_EQ(session_->obtainSessionData(), saved);
}

TEST_P(BehindNginx, TurnSucceedsAfterOneThatTheServiceBrokeOff) {
  standin::Server service({.apiKey = kKey});
  const Nginx nginx(authority_, service.address());
  meet(nginx);
  expectAnswer();
  const std::string saved = session_->obtainSessionData();
  standin::Script broken;
  broken.fault = standin::Fault::Reset;
  service.script(broken);
  EXPECT_THAT(askHere("question"), StartsWith("error: " + kPage502));
  EXPECT_EQ(session_->obtainSessionData(), saved);
  expectAnswer();
}

// nginx answers before it has read all, and the rest is still being sent then.
TEST_P(BehindNginx, TurnSucceedsAfterOneThatWasTooLarge) {
  const standin::Server service({.apiKey = kKey});
  const Nginx nginx(authority_, service.address(), "client_max_body_size 16k;");
  meet(nginx);
  const std::string saved = session_->obtainSessionData();
  const std::size_t before = service.requests().size();
  for (const std::size_t size : {std::size_t{20'000}, std::size_t{8} << 20}) {
    EXPECT_THAT(askHere(std::string(size, 'x')), StartsWith("error: " + kPage413));
  }
  EXPECT_EQ(service.requests().size(), before);
  EXPECT_EQ(session_->obtainSessionData(), saved);
  expectAnswer();
}

}  // namespace
