// Servers with a private authority, and proxies.
#include "support/platform.h"
#include "support/test_ca.h"
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class Connection : public Workplace {};

TEST_F(Connection, ToAServerOfAPrivateAuthorityNeedsItsFile) {
  const TestCA authority;
  const TestCA::Names certificate = authority.issue("localhost");
  standin::Options options;
  options.certificateFile = certificate.certificateFile;
  options.privateKeyFile = certificate.keyFile;
  const standin::Server server(options);

  if (!isWine()) {  // which trusts everyone as long as no authority is given
    const ProgramRun refused = runCommand(chatWith(server, {"--list-models"}));
    EXPECT_EQ(refused.code, 69);
    EXPECT_THAT(refused.err, HasSubstr("ertificate"));
    EXPECT_TRUE(server.requests().empty());
  }
  const TestCA stranger;
  EXPECT_EQ(runCommand(chatWith(server, {"--ca-file", stranger.getFile(), "--list-models"})).code, 69);
  EXPECT_TRUE(server.requests().empty());

  const ProgramRun trusted = runCommand(chatWith(server, {"--ca-file", authority.getFile(), "--list-models"}));
  EXPECT_EQ(trusted.code, 0) << trusted.err;
  EXPECT_THAT(trusted.out, HasSubstr(kModel));
}

TEST_F(Connection, GoesThroughTheProxyAndNoOtherWay) {
  const standin::Server server;
  const RefusingAddress proxy;
  const ProgramRun outcome = runCommand(chatWith(server, {"--proxy", proxy.text(), "--list-models"}));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_EQ(server.connectionCount(), 0U);
}

TEST_F(Connection, IgnoresTheProxyForTheStandInInside) {
  const RefusingAddress proxy;
  EXPECT_EQ(runCommand(chat({"--proxy", proxy.text(), "--list-models"})).code, 0);
}

}  // namespace
