// squid dies under a conversation and comes back.
#include "conversation.h"
#include "squid.h"
#include "support/platform.h"
#include "support/raw_server.h"

#include <tuple>

namespace {

using Door = Squid::Door;

enum class Scheme { HTTP, HTTPS };

class SquidThatDies : public testing::TestWithParam<std::tuple<Service, Scheme>> {
 protected:
  void SetUp() override {
    if (const std::string lack = obtainServersLack(); !lack.empty()) GTEST_SKIP() << lack;
    authority_ = std::make_unique<TestCA>();
    squid_ = std::make_unique<Squid>(*authority_);
    CMRestGlobalSettings settings;
    settings.proxyURL = squid_->url(Door::Password, kProxyPassword);
    settings.caFile = authority_->getFile();
    QAISetHTTPSettings(settings);
  }
  void TearDown() override { QAISetHTTPSettings({}); }

  static const Service& service() { return std::get<Service>(GetParam()); }

  /// Each request gets the script of its number.
  std::unique_ptr<RawServer> serve(std::vector<raw::Script> scripts) const {
    const bool secure = std::get<Scheme>(GetParam()) == Scheme::HTTPS;
    return std::make_unique<RawServer>(std::move(scripts),
                                       secure ? makeTLSContext(authority_->issue("localhost")) : nullptr);
  }
  static raw::Script answer() { return {raw::Send{raw::reply(200, service().replyBody)}}; }

  std::unique_ptr<TestCA> authority_;
  std::unique_ptr<Squid> squid_;
};

INSTANTIATE_TEST_SUITE_P(Chat, SquidThatDies,
                         testing::Combine(testing::ValuesIn(chatServices()),
                                          testing::Values(Scheme::HTTP, Scheme::HTTPS)),
                         [](const auto& row) {
                           return std::string(std::get<Service>(row.param).name) +
                                  (std::get<Scheme>(row.param) == Scheme::HTTPS ? "_https" : "_http");
                         });

TEST_P(SquidThatDies, InARequestFailsThatTurnAndNoLaterOne) {
  const std::size_t before = countDescriptors();
  {
    const auto server = serve({{raw::Call{[this] { squid_->die(); }}, raw::Stall{}}, answer()});
    const auto assistant = makeAssistant(service(), server->getURL());
    assign(*assistant, {{"model", service().model}});
    const auto session = newSession(*assistant);
    const std::string saved = session->obtainSessionData();

    const std::string lost = ask(*assistant, session.get(), "question");
    const std::string address = server->getURL();
    EXPECT_EQ(lost, "error: The connection to " + address.substr(address.find("://") + 3) +
                        " was lost before the reply was complete");
    ASSERT_TRUE(server->waitForEnds(1));
    const std::string refused = ask(*assistant, session.get(), "question");
    EXPECT_EQ(refused,
              "error: Could not connect to the proxy " + squid_->name(Door::Password) + ": connection refused");
    EXPECT_EQ(session->obtainSessionData(), saved);

    squid_->start();
    EXPECT_EQ(ask(*assistant, session.get(), "question"), "two parts");
  }
  EXPECT_EQ(countDescriptors(), before);
}

// What was open to it is found dead and opened anew; nobody is told.
TEST_P(SquidThatDies, BetweenTurnsIsNotNoticedWhenItIsBackInTime) {
  const auto server = serve({answer()});
  const auto assistant = makeAssistant(service(), server->getURL());
  assign(*assistant, {{"model", service().model}});
  const auto session = newSession(*assistant);
  for (int turn = 0; turn < 3; ++turn) {
    EXPECT_EQ(ask(*assistant, session.get(), "question"), "two parts");
    squid_->die();
    squid_->start();
  }
  EXPECT_EQ(server->getRequests().size(), 3U);
}

}  // namespace
