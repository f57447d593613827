// Memory runs out in a process's first turn.
#include "support/raw_server.h"
#include "support/test_ca.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

const char* const kReply = R"({"choices":[{"message":{"role":"assistant","content":"a reply"}}]})";

int runColdHost(const RawServer& server, const TestCA& authority, const std::string& expected) {
  const std::string command =
      "\"" COLD_HOST "\" " + server.getURL() + " \"" + authority.getFile() + "\" \"" + expected + "\"";
  return std::system(command.c_str());  // NOLINT(cert-env33-c): our own program, with our own arguments
}

class ColdStart : public testing::Test {
 protected:
  static std::vector<raw::Script> answer() { return {{raw::Send{raw::reply(200, kReply)}}}; }
  const TestCA authority_;
};

TEST_F(ColdStart, WithoutTLSEndsInOrder) {
  const RawServer server(answer());
  EXPECT_EQ(runColdHost(server, authority_, "a reply"), 0);
}

TEST_F(ColdStart, OverTLSEndsInOrder) {
  const RawServer server(answer(), makeTLSContext(authority_.issue("localhost")));
  EXPECT_EQ(runColdHost(server, authority_, "a reply"), 0);
}

TEST_F(ColdStart, AcceptsNoUnfitCertificate) {
  const TestCA other;
  const RawServer server(answer(), makeTLSContext(other.issue("localhost")));
  EXPECT_EQ(runColdHost(server, authority_, "nothing"), 0);
  EXPECT_GT(server.getConnections(), 0U);
  EXPECT_EQ(server.getReceivedBytes(), 0U);
}

TEST_F(ColdStart, AcceptsNoOtherHostsCertificate) {
  const RawServer server(answer(), makeTLSContext(authority_.issue("other.example")));
  EXPECT_EQ(runColdHost(server, authority_, "nothing"), 0);
  EXPECT_EQ(server.getReceivedBytes(), 0U);
}

}  // namespace
