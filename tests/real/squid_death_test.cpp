// squid dies under a conversation and comes back.
#include "conversation.h"
#include "squid.h"
#include "support/platform.h"
#include "support/raw_server.h"

#include <tuple>

namespace {

using Door = Squid::Door;

enum class Scheme { HTTP, HTTPS };

class SquidThatDies : public testing::TestWithParam<std::tuple<TestedService, Scheme>> {
 protected:
  void SetUp() override {
    if (const std::string lack = obtainServersLack(); !lack.empty()) GTEST_SKIP() << lack;
    authority_ = std::make_unique<TestCA>();
    squid_ = std::make_unique<Squid>(*authority_);
    QAISetHTTPSettings(settingsFor(*authority_, squid_->url(Door::Password, kProxyPassword)));
  }
  void TearDown() override { QAISetHTTPSettings({}); }

  static const TestedService& service() { return std::get<TestedService>(GetParam()); }

  /// Each request gets the script of its number.
  std::unique_ptr<RawServer> serve(std::vector<raw::Script> scripts) const {
    const bool secure = std::get<Scheme>(GetParam()) == Scheme::HTTPS;
    return std::make_unique<RawServer>(std::move(scripts),
                                       secure ? makeTLSContext(authority_->issue("localhost")) : nullptr);
  }
  /// Two requests come before the Assistants service's first turn, which takes four; one reply suits all of them.
  static bool isOfManyRequests() { return service().keepsConversations; }
  static raw::Script answer() {
    constexpr const char* kAll = R"({"id":"x","status":"completed","data":[{"created_at":1,"content":[)"
                                 R"({"type":"text","text":{"value":"two parts"}}]}]})";
    return {raw::Send{raw::reply(200, isOfManyRequests() ? kAll : service().replyBody)}};
  }

  std::unique_ptr<TestCA> authority_;
  std::unique_ptr<Squid> squid_;
};

INSTANTIATE_TEST_SUITE_P(All, SquidThatDies,
                         testing::Combine(testing::ValuesIn(allServices()),
                                          testing::Values(Scheme::HTTP, Scheme::HTTPS)),
                         [](const auto& row) {
                           return std::string(std::get<TestedService>(row.param).name) +
                                  (std::get<Scheme>(row.param) == Scheme::HTTPS ? "_https" : "_http");
                         });

TEST_P(SquidThatDies, InARequestFailsThatTurnAndNoLaterOne) {
  const std::size_t before = countDescriptors();
  {
    const raw::Script death{raw::Call{[this] { squid_->die(); }}, raw::Stall{}};
    const auto server =
        serve(isOfManyRequests() ? std::vector{answer(), answer(), death, answer()} : std::vector{death, answer()});
    const auto assistant = makeAssistant(service(), server->getURL());
    assign(*assistant, {{"model", service().model}});
    const auto session = newSession(*assistant);
    const std::string saved = session->obtainSessionData();

    const std::string lost = ask(*assistant, session.get(), "question");
    const std::string address = server->getURL();
    const std::string here = "error: The connection to " + address.substr(address.find("://") + 3) +
                             " was lost before a reply; the service may have acted";
    const std::string gone =
        "error: Could not connect to the proxy " + squid_->name(Door::Password) + ": connection refused";
    EXPECT_EQ(lost, here);
    ASSERT_TRUE(server->waitForEnds(server->getConnections()));
    EXPECT_EQ(ask(*assistant, session.get(), "question"), gone);
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
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "two parts");
  squid_->die();
  squid_->start();
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "two parts");
}

}  // namespace
