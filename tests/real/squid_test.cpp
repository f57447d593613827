// Turns by way of squid: open, behind a password, refusing, and dying.
#include "squid.h"

#include "conversation.h"
#include "support/platform.h"

#include <standin.h>

#include <fstream>
#include <set>
#include <tuple>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Door = Squid::Door;

enum class Scheme { HTTP, HTTPS };

class BehindSquid : public testing::TestWithParam<std::tuple<TestedService, Scheme>> {
 protected:
  static void TearDownTestSuite() {
    squid_.reset();
    authority_.reset();
  }
  void SetUp() override {
    if (const std::string lack = obtainServersLack(); !lack.empty()) GTEST_SKIP() << lack;
    if (squid_ == nullptr) {
      authority_ = std::make_unique<TestCA>();
      squid_ = std::make_unique<Squid>(*authority_);
    }
    testing::internal::CaptureStderr();
  }
  // Whatever a test does, nothing of it appears outside.
  void TearDown() override {
    if (squid_ == nullptr) return;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    QAISetHTTPSettings({});
  }

  static const TestedService& service() { return std::get<TestedService>(GetParam()); }
  static bool isSecure() { return std::get<Scheme>(GetParam()) == Scheme::HTTPS; }
  /// The stand-in's options: a certificate where the scheme wants one.
  static standin::Options options() {
    standin::Options options{.apiKey = kKey};
    if (isSecure()) {
      const TestCA::Names names = authority_->issue("localhost");
      options.certificateFile = names.certificateFile;
      options.privateKeyFile = names.keyFile;
    }
    return options;
  }
  static void goThrough(const std::string& proxyURL) { QAISetHTTPSettings(settingsFor(*authority_, proxyURL)); }
  /// The error of a conversation that the proxy at `door` does not let through; the server hears nothing of it.
  static std::string refusedAt(Door door, const std::string& password) {
    goThrough(squid_->url(door, password));
    const standin::Server server(options());
    std::string error = converse(*makeAssistant(service(), server.address()), service());
    EXPECT_EQ(server.requests().size(), 0U);
    if (!password.empty()) {
      expectHidden(password, error);
      expectHidden(kProxyUser + ":" + password, error);
    }
    return error;
  }
  static std::string refusal(Door door, const std::string& status) {
    return "The proxy " + squid_->name(door) + " refused the connection: HTTP " + status;
  }

  static inline std::unique_ptr<TestCA> authority_;
  static inline std::unique_ptr<Squid> squid_;
};

std::string nameRow(const testing::TestParamInfo<std::tuple<TestedService, Scheme>>& row) {
  return std::string(std::get<TestedService>(row.param).name) +
         (std::get<Scheme>(row.param) == Scheme::HTTPS ? "_https" : "_http");
}
INSTANTIATE_TEST_SUITE_P(All, BehindSquid,
                         testing::Combine(testing::ValuesIn(allServices()),
                                          testing::Values(Scheme::HTTP, Scheme::HTTPS)),
                         nameRow);

TEST_P(BehindSquid, ConversationSucceedsThroughEachDoorThatOpens) {
  for (const std::string& url :
       {squid_->url(Door::Open), squid_->url(Door::Password, kProxyPassword), squid_->url(Door::Secure)}) {
    goThrough(url);
    const standin::Server server(options());
    EXPECT_EQ(converse(*makeAssistant(service(), server.address()), service()), "");
    EXPECT_GE(server.requests().size(), 3U);
    // Inside a tunnel nobody hears of the proxy; on a plain way it says itself that it is one.
    for (const standin::Request& request : server.requests()) {
      EXPECT_EQ(request.header("Proxy-Authorization"), "");
      EXPECT_EQ(request.header("Via").empty(), isSecure());
    }
  }
}

TEST_P(BehindSquid, NoPasswordAndAWrongOneAreRefused) {
  EXPECT_EQ(refusedAt(Door::Password, ""), refusal(Door::Password, "407"));
  EXPECT_EQ(refusedAt(Door::Password, "c@nary/9f%4"), refusal(Door::Password, "407"));
}

// On a plain way the page is the reply to the request itself, and a reply that is no JSON is the error's text as it
// arrived: with the address that it shows, in which Gemini's key stands. In front of a tunnel the page is not read.
TEST_P(BehindSquid, RefusalIsToldByThePageOnAPlainWayAndByItsStatusBeforeATunnel) {
  const std::string error = refusedAt(Door::Closed, kProxyPassword);
  if (isSecure()) {
    EXPECT_EQ(error, refusal(Door::Closed, "403"));
    return;
  }
  EXPECT_THAT(error, StartsWith("<!DOCTYPE html"));
  EXPECT_THAT(error, HasSubstr("<!-- ERR_ACCESS_DENIED -->"));
  if (service().key == KeyWay::Query) {
    EXPECT_THAT(error, HasSubstr("?key=" + cfEncodeQueryText(kKey)));
  } else {
    expectHidden(kKey, error);
  }
}

TEST_P(BehindSquid, RefusedTurnLeavesTheSessionAsItWasAndTheNextOneSucceeds) {
  const standin::Server server(options());
  const auto assistant = makeAssistant(service(), server.address());
  goThrough(squid_->url(Door::Open));
  EXPECT_EQ(assign(*assistant, {{"model", service().model}}), "");
  const auto session = newSession(*assistant);
  ASSERT_NE(session, nullptr);
  for (const std::string& refusing : {squid_->url(Door::Closed), squid_->url(Door::Password, "wrong")}) {
    const std::string saved = session->obtainSessionData();
    goThrough(refusing);
    EXPECT_THAT(ask(*assistant, session.get(), "question"), StartsWith("error: "));
    EXPECT_EQ(session->obtainSessionData(), saved);
    goThrough(squid_->url(Door::Open));
    EXPECT_THAT(ask(*assistant, session.get(), "question"), testing::Not(StartsWith("error: ")));
  }
}

TEST_P(BehindSquid, ServiceThatIsGoneIsToldInTheSameWay) {
  const ReservedPort nobody;
  goThrough(squid_->url(Door::Password, kProxyPassword));
  const std::string host = (isSecure() ? "https://localhost:" : "http://localhost:") + nobody.text();
  const std::string error = converse(*makeAssistant(service(), host), service());
  if (isSecure()) {
    EXPECT_EQ(error, refusal(Door::Password, "503"));
  } else {
    EXPECT_THAT(error, HasSubstr("<!-- ERR_CONNECT_FAIL -->"));
  }
}

/// The options that squid has built in with a path, such as "unlinkd_program": its list of them is among its texts.
std::set<std::string> optionsWithPaths() {
  std::ifstream program(packagedFile("usr/sbin/squid"), std::ios::binary);
  std::set<std::string> options;
  for (std::string text; std::getline(program, text, '\0');) {
    const std::size_t size = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz_");
    if (size == std::string::npos || size == 0) continue;
    for (const std::string module : {"", "daemon:", "stdio:"}) {
      if (text.substr(size).starts_with(" " + module + "/")) options.insert(text.substr(0, size));
    }
  }
  return options;
}

// Else it would need what another squid has left on the machine.
TEST(SquidsConfiguration, NamesEveryPathThatSquidWouldElseChoose) {
  if (const std::string lack = obtainServersLack(); !lack.empty()) GTEST_SKIP() << lack;
  const TestCA authority;
  const Squid squid(authority);
  std::set<std::string> named;
  std::ifstream configuration(squid.configurationFile());
  for (std::string line; std::getline(configuration, line);) named.insert(line.substr(0, line.find(' ')));
  const std::set<std::string> options = optionsWithPaths();
  EXPECT_GE(options.size(), 12U);
  for (const std::string& option : options) EXPECT_TRUE(named.contains(option)) << option;
}

}  // namespace
