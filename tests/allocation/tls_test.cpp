// Turns over TLS with memory running out: an unfit certificate is never accepted, whatever else fails.
#include "host_scene.h"
#include "support/raw_server.h"
#include "support/test_ca.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

const TestCA& authority() {
  static const TestCA made;
  return made;
}

void trust(const std::string& caFile) {
  CMRestGlobalSettings settings;
  settings.caFile = caFile;
  settings.totalTimeout = std::chrono::seconds(5);
  QAISetHTTPSettings(settings);
}

/// A server that answers turns of `service`; a connection each unless `staysOpen`.
class AnsweringServer : public RawServer {
 public:
  AnsweringServer(const TestedService& service, const TestCA::Names& certificate, bool staysOpen = true)
      : RawServer({script(service, staysOpen)}, makeTLSContext(certificate)) {}

 private:
  static raw::Script script(const TestedService& service, bool staysOpen) {
    if (staysOpen) return {raw::Send{raw::reply(200, service.replyBody)}};
    return {raw::Send{raw::reply(200, service.replyBody, "Connection: close\r\n")}, raw::Close{}};
  }
};

/// A turn with a server, the first or one that finds what the turn before has left.
class SecureTurn : public Scene {
 public:
  SecureTurn(const TestedService& service, const RawServer& server, int earlier) {
    assistant_.reset(QAICreateAssistant(service.type, CF::createHTTPPoolCenter(), kKey, server.getURL()));
    EXPECT_EQ(assign(*assistant_, {{"model", service.model}}), "");
    session_ = newSession(*assistant_);
    for (int i = 0; i < earlier; ++i) EXPECT_EQ(ask(*assistant_, session_.get(), "earlier"), "two parts");
  }

  void run() override {
    auto [message, error] = assistant_->addMessage(session_.get(), kQuestion);
    message_.reset(message);
    error_ = std::move(error);
  }
  bool succeeded() const override { return message_ != nullptr && error_.empty(); }
  std::string result() const override { return succeeded() ? "a reply" : error_; }
  std::string state() const override { return session_->obtainSessionData(); }

 protected:
  Owned<IQAIAssistant> assistant_;
  Owned<IQAISession> session_;
  Owned<IQAIMessage> message_;
  std::string error_;

 private:
  const std::string kQuestion = "a question that does not fit into a short string";
};

/// A turn with a server whose certificate is unfit: what is to come of it is that it is refused.
class RefusedTurn : public SecureTurn {
 public:
  RefusedTurn(const TestedService& service, const RawServer& server)
      : SecureTurn(service, server, 0), server_(server) {}

  bool succeeded() const override { return message_ == nullptr && error_.starts_with("The certificate of localhost:"); }
  /// The reason may be that there was no memory to find out.
  std::string result() const override { return succeeded() ? "refused" : error_; }
  std::string complaint() const override {
    if (message_ != nullptr) return "a reply was taken";
    return server_.getReceivedBytes() == 0 ? "" : "the server was sent something";
  }

 private:
  const RawServer& server_;
};

/// The services whose requests go through the pool, and those that make a connection for each.
class OverTLS : public testing::TestWithParam<TestedService> {
 protected:
  OverTLS() { trust(authority().getFile()); }
  ~OverTLS() override { QAISetHTTPSettings({}); }

  std::size_t sweepTurn(const std::string& name, const RawServer& server, int earlier) const {
    return sweep(std::string(GetParam().name) + " " + name,
                 [&] { return std::make_unique<SecureTurn>(GetParam(), server, earlier); });
  }
  std::size_t sweepRefusal(const std::string& name, const TestCA::Names& certificate) const {
    const AnsweringServer server(GetParam(), certificate);
    const std::size_t points = sweep(std::string(GetParam().name) + " " + name,
                                     [&] { return std::make_unique<RefusedTurn>(GetParam(), server); });
    EXPECT_TRUE(server.waitForEnds(server.getConnections()));
    EXPECT_EQ(server.getReceivedBytes(), 0U);
    return points;
  }
};
INSTANTIATE_TEST_SUITE_P(Chat, OverTLS, testing::Values(pooledServices().front(), poollessServices().front()),
                         [](const auto& row) { return row.param.usesPool ? "pooled" : "alone"; });

TEST_P(OverTLS, FirstTurn) {
  const AnsweringServer server(GetParam(), authority().issue("localhost"));
  EXPECT_GT(sweepTurn("first turn over TLS", server, 0), 500U);
}

TEST_P(OverTLS, TurnOnTheSameConnection) {
  const AnsweringServer server(GetParam(), authority().issue("localhost"));
  EXPECT_GT(sweepTurn("fourth turn over TLS", server, 3), 20U);
}

TEST_P(OverTLS, TurnThatResumesASession) {
  const AnsweringServer server(GetParam(), authority().issue("localhost"), false);
  EXPECT_GT(sweepTurn("resumed turn over TLS", server, 1), 200U);
  EXPECT_EQ(server.getResumedHandshakes() > 0, GetParam().usesPool);
}

TEST_P(OverTLS, AnotherAuthoritysCertificateIsRefused) {
  const TestCA other;
  EXPECT_GT(sweepRefusal("another authority", other.issue("localhost")), 500U);
}

TEST_P(OverTLS, AnotherHostsCertificateIsRefused) {
  EXPECT_GT(sweepRefusal("another host", authority().issue("other.example")), 500U);
}

TEST_P(OverTLS, ExpiredCertificateIsRefused) {
  EXPECT_GT(sweepRefusal("expired", authority().issue("localhost", std::chrono::hours(-1))), 500U);
}

TEST_P(OverTLS, UnknownAuthorityIsRefused) {
  trust("");
  EXPECT_GT(sweepRefusal("unknown authority", authority().issue("localhost")), 500U);
}

}  // namespace
