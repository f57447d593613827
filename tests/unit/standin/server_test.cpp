// The server itself: log, scripts, faults, connections, its start and its end.
#include "client.h"
#include "support/platform.h"
#include "support/test_ca.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using standin::Fault;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::Pair;
using Clock = std::chrono::steady_clock;

// Far more than an end takes on a busy machine, far less than what holds it up.
constexpr std::chrono::seconds kPrompt{5};

class Standin : public testing::Test {
 protected:
  standin::Server server;
  Client client{server.address()};
};

TEST_F(Standin, LogsARequestAsItWasSent) {
  client.post("/v1/models/a%2Fb%20c?limit=1&q=a+b%26c&flag&limit=2", "the \"body\"",
              {"Authorization: Bearer a%41b", "X-Two:  words here ", "Content-Type: text/plain"});
  const std::vector<standin::Request> log = server.requests();
  ASSERT_EQ(log.size(), 1U);
  EXPECT_EQ(log[0].method, "POST");
  EXPECT_EQ(log[0].path, "/v1/models/a%2Fb%20c");
  EXPECT_THAT(log[0].query, ElementsAre(Pair("limit", "1"), Pair("q", "a b&c"), Pair("flag", ""), Pair("limit", "2")));
  EXPECT_EQ(log[0].header("authorization"), "Bearer a%41b");
  EXPECT_EQ(log[0].header("X-TWO"), "words here");
  EXPECT_EQ(log[0].header("X-Three"), "");
  EXPECT_EQ(log[0].header("REMOTE_ADDR"), "");
  EXPECT_EQ(log[0].body, "the \"body\"");
}

TEST_F(Standin, LogsBodiesOfEveryKindWhole) {
  const std::string form(20000, 'f');
  client.post("/form", form, {"Content-Type: application/x-www-form-urlencoded"});
  client.post("/parts", "--b\r\n\r\nx\r\n--b--", {"Content-Type: multipart/form-data; boundary=b"});
  client.post("/chunks", "in chunks", {"Transfer-Encoding: chunked"});
  client.post("/large", std::string(2 << 20, 'l'), {"Expect: 100-continue"});
  client.post("/none", "", {});
  client.send("DELETE", "/delete", {}, nullptr);
  const std::vector<standin::Request> log = server.requests();
  ASSERT_EQ(log.size(), 6U);
  EXPECT_EQ(log[0].body, form);
  EXPECT_EQ(log[1].body, "--b\r\n\r\nx\r\n--b--");
  EXPECT_EQ(log[2].body, "in chunks");
  EXPECT_EQ(log[3].body.size(), 2U << 20);
  EXPECT_EQ(log[4].body, "");
  EXPECT_EQ(log[5].method, "DELETE");
}

TEST_F(Standin, KeepsAConnectionForManyRequests) {
  for (int i = 0; i < 150; ++i) ASSERT_EQ(client.get("/v1/models").status, 200);
  EXPECT_EQ(server.connectionCount(), 1U);
  EXPECT_EQ(Client(server.address()).get("/v1/models").status, 200);
  EXPECT_EQ(server.connectionCount(), 2U);
}

TEST_F(Standin, ServesNewConnectionsBesideManyIdleOnes) {
  std::vector<std::unique_ptr<Client>> idle;
  for (int i = 0; i < 40; ++i) {
    idle.push_back(std::make_unique<Client>(server.address()));
    ASSERT_EQ(idle.back()->get("/v1/models").status, 200);
  }
  EXPECT_EQ(client.get("/v1/models").status, 200);
  EXPECT_EQ(server.connectionCount(), 41U);
}

TEST_F(Standin, UsesScriptsUpInOrder) {
  server.script({.status = 429, .body = "later", .headers = {{"Retry-After", "7"}, {"content-type", "text/plain"}}});
  server.script({.status = 503});
  server.script({.body = ""});
  const auto first = client.get("/v1/models");
  EXPECT_EQ(first.status, 429);
  EXPECT_EQ(first.body, "later");
  EXPECT_EQ(first.contentType, "text/plain");
  EXPECT_NE(first.head.find("Retry-After: 7\r\n"), std::string::npos);
  const auto second = client.get("/v1/models");
  EXPECT_EQ(second.status, 503);
  EXPECT_NE(second.body.find("standin-small"), std::string::npos);  // what is not set stays
  const auto third = client.get("/v1/models");
  EXPECT_EQ(third.status, 200);
  EXPECT_EQ(third.body, "");
  EXPECT_EQ(third.contentType, "application/json");
  EXPECT_EQ(client.get("/v1/models").status, 200);
}

TEST_F(Standin, SendsScriptedBodiesAsTheyStand) {
  const std::string bytes("\x1f\x8b\0raw\xff", 7);
  server.script({.body = bytes, .headers = {{"Content-Encoding", "gzip"}}});
  const auto answer =
      client.get("/v1/models", {"Authorization: Bearer k", "Accept-Encoding: gzip", "Range: bytes=0-1"});
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, bytes);
}

TEST_F(Standin, DelaysAReply) {
  server.script({.delay = milliseconds(50)});
  const auto start = Clock::now();
  EXPECT_EQ(client.get("/v1/models").status, 200);
  EXPECT_GE(Clock::now() - start, milliseconds(50));
}

TEST_F(Standin, SendsASlowBodyWhole) {
  const std::string body = "0123456789abcdefghijklmnopqrstuvwxyz";
  server.script({.body = body, .fault = Fault::SlowBody, .pace = milliseconds(5)});
  const auto start = Clock::now();
  const auto answer = client.get("/v1/models");
  EXPECT_EQ(answer.result, CURLE_OK);
  EXPECT_EQ(answer.body, body);
  EXPECT_GE(Clock::now() - start, milliseconds(50));
  EXPECT_EQ(client.get("/v1/models").status, 200);
  EXPECT_EQ(server.connectionCount(), 1U);
}

TEST_F(Standin, CutsABodyInTheMiddle) {
  server.script({.body = "0123456789", .fault = Fault::CutBody});
  const auto answer = client.get("/v1/models");
  EXPECT_EQ(answer.result, CURLE_PARTIAL_FILE);
  EXPECT_EQ(answer.body, "01234");
  EXPECT_NE(answer.head.find("Content-Length: 10\r\n"), std::string::npos);
  EXPECT_EQ(client.get("/v1/models").status, 200);
  EXPECT_EQ(server.connectionCount(), 2U);
}

TEST_F(Standin, ResetsAConnection) {
  if (isWine()) GTEST_SKIP() << "Wine ends every connection in order before it resets it";
  server.script({.fault = Fault::Reset});
  const auto answer = client.get("/v1/models");
  EXPECT_EQ(answer.result, CURLE_RECV_ERROR);  // an orderly end would be CURLE_GOT_NOTHING
  EXPECT_EQ(answer.head, "");
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(Standin, LeavesARequestWithoutReply) {
  server.script({.fault = Fault::NoReply});
  client.setTimeLimit(60);
  const auto answer = client.get("/v1/models");
  EXPECT_EQ(answer.result, CURLE_OPERATION_TIMEDOUT);
  EXPECT_EQ(answer.head, "");
  client.setTimeLimit(10000);
  EXPECT_EQ(client.get("/v1/models").status, 200);
}

/// How a server ends that is held up in some way.
struct HeldCase {
  const char* name;
  standin::Script script;
};
class StandinEnd : public testing::TestWithParam<HeldCase> {};

TEST_P(StandinEnd, WaitsForNobody) {
  auto server = std::make_unique<standin::Server>();
  const std::string address = server->address();
  server->script(GetParam().script);
  auto answer = std::async(std::launch::async, [&] { return Client(address).get("/v1/models"); });
  while (server->requests().empty()) std::this_thread::yield();
  const auto start = Clock::now();
  server.reset();
  EXPECT_LT(Clock::now() - start, kPrompt);
  EXPECT_NE(answer.get().result, CURLE_OK);
}

INSTANTIATE_TEST_SUITE_P(Held, StandinEnd,
                         testing::Values(HeldCase{"no_reply", {.fault = Fault::NoReply}},
                                         HeldCase{"delay", {.delay = std::chrono::hours(1)}},
                                         HeldCase{"slow_body",
                                                  {.fault = Fault::SlowBody, .pace = std::chrono::hours(1)}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StandinStart, EndsAtOnceWithIdleConnectionsOpen) {
  auto server = std::make_unique<standin::Server>();
  Client client(server->address());
  ASSERT_EQ(client.get("/v1/models").status, 200);
  const auto start = Clock::now();
  server.reset();
  EXPECT_LT(Clock::now() - start, kPrompt);
  EXPECT_EQ(client.get("/v1/models").result, CURLE_COULDNT_CONNECT);
}

TEST(StandinStart, EndsRightAfterIt) {
  for (int i = 0; i < 20; ++i) EXPECT_GT(standin::Server().port(), 0);
}

TEST(StandinStart, RefusesAPortInUse) {
  const standin::Server server;
  EXPECT_THROW(standin::Server({.port = server.port()}), std::runtime_error);
}

TEST(StandinStart, TakesThePortAsked) {
  int port = 0;
  {
    const standin::Server server;
    port = server.port();
  }
  EXPECT_EQ(standin::Server({.port = port}).port(), port);
}

TEST(StandinStart, RefusesUnusableCertificates) {
  EXPECT_THROW(standin::Server({.certificateFile = "/nowhere.pem", .privateKeyFile = "/nowhere.key"}),
               std::runtime_error);
  EXPECT_THROW(standin::Server({.privateKeyFile = "/nowhere.key"}), std::runtime_error);
}

class StandinTls : public testing::Test {
 protected:
  TestCA authority;
  TestCA::Names names = authority.issue("localhost");
  standin::Server server{{.certificateFile = names.certificateFile, .privateKeyFile = names.keyFile}};
  Client client{server.address()};

  void SetUp() override { client.trust(authority.getFile()); }
};

TEST_F(StandinTls, ServesOverOneConnection) {
  EXPECT_EQ(server.address(), "https://localhost:" + std::to_string(server.port()));
  const auto answer = client.get("/v1/models");
  EXPECT_EQ(answer.result, CURLE_OK);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(client.post("/v1/x", std::string(100000, 'x')).status, 404);
  EXPECT_EQ(server.requests().at(1).body.size(), 100000U);
  EXPECT_EQ(server.connectionCount(), 1U);
}

TEST_F(StandinTls, IsNotTrustedByStrangers) {
  if (isWine()) GTEST_SKIP() << "Wine trusts everyone as long as no authority is given";
  EXPECT_EQ(Client(server.address()).get("/v1/models").result, CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(StandinTls, FailsInTheSameWays) {
  server.script({.fault = Fault::Reset});
  EXPECT_EQ(client.get("/v1/models").result, CURLE_RECV_ERROR);
  server.script({.body = "0123456789", .fault = Fault::CutBody});
  const auto cut = client.get("/v1/models");
  EXPECT_NE(cut.result, CURLE_OK);
  EXPECT_EQ(cut.body, "01234");
}

}  // namespace
