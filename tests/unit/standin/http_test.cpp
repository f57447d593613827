// HTTP as the server reads it: where requests begin and end, what is refused, when a connection is kept.
#include "client.h"
#include "raw_client.h"
#include "support/test_ca.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

// Far more than an end takes on a busy machine, far less than what holds it up.
constexpr std::chrono::seconds kPrompt{5};

const std::string kHost = "Host: x\r\n";
const std::string kGet = "GET / HTTP/1.1\r\n";
const std::string kPost = "POST / HTTP/1.1\r\n" + kHost;
const std::string kChunked = "Transfer-Encoding: chunked\r\n";

std::string manyHeaders() {
  std::string lines;
  while (lines.size() < 70000) lines += "X: " + std::string(96, 'x') + "\r\n";
  return lines;
}

class Http : public testing::Test {
 protected:
  standin::Server server;
  RawClient client{server.port()};
};

/// What is no request, and how it is refused.
struct RefusedCase {
  const char* name;
  std::string bytes;
  std::string status;
};
class RefusedRequest : public testing::TestWithParam<RefusedCase> {};

TEST_P(RefusedRequest, EndsTheConnectionUnlogged) {
  const standin::Server server;
  RawClient client(server.port());
  client.send(GetParam().bytes);
  const std::string head = client.readHead();
  ASSERT_THAT(head, StartsWith("HTTP/1.1 " + GetParam().status + " "));
  EXPECT_THAT(head, HasSubstr("\r\nConnection: close\r\n"));
  EXPECT_EQ(client.readToEnd(), "");
  EXPECT_THAT(server.requests(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Head, RefusedRequest,
                         testing::Values(RefusedCase{"one_word", "nonsense\r\n", "400"},
                                         RefusedCase{"no_version", "GET /\r\n", "400"},
                                         RefusedCase{"no_target", "GET  HTTP/1.1\r\n", "400"},
                                         RefusedCase{"two_targets", "GET /a b HTTP/1.1\r\n", "400"},
                                         RefusedCase{"method_with_bracket", "G(T / HTTP/1.1\r\n", "400"},
                                         RefusedCase{"method_behind_space", " GET / HTTP/1.1\r\n", "400"},
                                         RefusedCase{"another_protocol", "GET / ICY/1.1\r\n", "400"},
                                         RefusedCase{"earlier_version", "GET / HTTP/0.9\r\n", "505"},
                                         RefusedCase{"later_version", "PRI * HTTP/2.0\r\n", "505"},
                                         RefusedCase{"line_feed_alone", "GET / HTTP/1.1\n", "400"},
                                         RefusedCase{"carriage_return_alone", "GET / HTTP/1.1\rHost: x\r\n", "400"},
                                         RefusedCase{"header_without_colon", kGet + "Host x\r\n", "400"},
                                         RefusedCase{"header_without_name", kGet + ": x\r\n", "400"},
                                         RefusedCase{"space_before_colon", kGet + "Host : x\r\n", "400"},
                                         RefusedCase{"header_over_two_lines", kGet + kHost + " y\r\n", "400"},
                                         RefusedCase{"null_in_header", kGet + std::string("X: \0\r\n", 6), "400"},
                                         RefusedCase{"no_host", kGet + "\r\n", "400"},
                                         RefusedCase{"two_hosts", kGet + kHost + kHost + "\r\n", "400"},
                                         RefusedCase{"endless_line", "GET /" + std::string(70000, 'x'), "431"},
                                         RefusedCase{"endless_head", kGet + manyHeaders(), "431"}),
                         [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Body, RefusedRequest,
    testing::Values(RefusedCase{"size_in_words", kPost + "Content-Length: ten\r\n\r\n", "400"},
                    RefusedCase{"negative_size", kPost + "Content-Length: -1\r\n\r\n", "400"},
                    RefusedCase{"no_size", kPost + "Content-Length:\r\n\r\n", "400"},
                    RefusedCase{"two_sizes", kPost + "Content-Length: 1\r\nContent-Length: 1\r\n\r\n", "400"},
                    RefusedCase{"size_beside_chunks", kPost + "Content-Length: 1\r\n" + kChunked + "\r\n", "400"},
                    RefusedCase{"too_large", kPost + "Content-Length: 1073741825\r\n\r\n", "413"},
                    RefusedCase{"beyond_numbers", kPost + "Content-Length: 99999999999999999999\r\n\r\n", "413"},
                    RefusedCase{"another_coding", kPost + "Transfer-Encoding: gzip, chunked\r\n\r\n", "501"},
                    RefusedCase{"chunks_before_their_time", "POST / HTTP/1.0\r\n" + kChunked + "\r\n", "400"},
                    RefusedCase{"chunk_without_size", kPost + kChunked + "\r\n\r\n", "400"},
                    RefusedCase{"chunk_size_in_words", kPost + kChunked + "\r\nsome\r\n", "400"},
                    RefusedCase{"chunk_longer_than_told", kPost + kChunked + "\r\n2\r\nabcd0\r\n\r\n", "400"},
                    RefusedCase{"chunk_too_large", kPost + kChunked + "\r\n1\r\na\r\n40000000\r\n", "413"},
                    RefusedCase{"another_expectation", kPost + "Content-Length: 1\r\nExpect: more\r\n\r\n", "417"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Http, RefusalReachesAClientThatStillSends) {
  // More than the system takes off its hands while nobody reads.
  client.send(kPost + "Content-Length: 1073741825\r\n\r\n" + std::string(16 << 20, 'x'));
  EXPECT_THAT(client.readToEnd(), StartsWith("HTTP/1.1 413 "));
  EXPECT_FALSE(client.wasReset());
}

TEST_F(Http, RefusalIsNoEndOfTheServer) {
  client.send("nonsense\r\n");
  client.readToEnd();
  EXPECT_EQ(Client(server.address()).get("/v1/models").status, 200);
}

/// Three requests on one connection, by both kinds of bodies.
const std::string kThree =
    "POST /one HTTP/1.1\r\nHost: x\r\nContent-Length: 9\r\n\r\n\r\n\r\nbody1"
    "\r\n"  // more than was announced
    "POST /two HTTP/1.1\r\nhost:x\r\ntransfer-encoding: Chunked\r\n\r\n"
    "4;name=value\r\nbo\r\n\r\n00A \r\ny2, larger\r\n0\r\nTrailer: x\r\n\r\n"
    "GET /three?a=b HTTP/1.1\r\nX: 1\r\nHost: x\r\nConnection: close\r\n\r\n";

void expectThree(const standin::Server& server, std::size_t begin) {
  const std::vector<standin::Request> log = server.requests();
  ASSERT_EQ(log.size(), begin + 3);
  EXPECT_EQ(log[begin].path, "/one");
  EXPECT_EQ(log[begin].body, "\r\n\r\nbody1");
  EXPECT_EQ(log[begin + 1].path, "/two");
  EXPECT_EQ(log[begin + 1].body, "bo\r\ny2, larger");
  EXPECT_EQ(log[begin + 2].path, "/three");
  EXPECT_EQ(log[begin + 2].body, "");
  EXPECT_THAT(log[begin + 2].headers, testing::ElementsAre(testing::Pair("X", "1"), testing::Pair("Host", "x"),
                                                           testing::Pair("Connection", "close")));
}

TEST(HttpPieces, RequestsCutAnywhereAreTheSame) {
  const standin::Server server;
  for (std::size_t cut = 0; cut < kThree.size(); ++cut) {
    SCOPED_TRACE("cut before byte " + std::to_string(cut));
    RawClient client(server.port());
    client.send(kThree.substr(0, cut));
    client.send(kThree.substr(cut));
    client.readToEnd();
    ASSERT_NO_FATAL_FAILURE(expectThree(server, cut * 3));
  }
}

TEST_F(Http, RequestsByteByByteAreTheSame) {
  for (const char byte : kThree) client.send({&byte, 1});
  client.readToEnd();
  expectThree(server, 0);
}

TEST_F(Http, RepliesComeInTheOrderOfTheRequests) {
  server.script({.body = "first"});
  server.script({.body = "second"});
  server.script({.body = "third"});
  client.send(kThree);
  const std::string replies = client.readToEnd();
  EXPECT_LT(replies.find("first"), replies.find("second"));
  EXPECT_LT(replies.find("second"), replies.find("third"));
  EXPECT_TRUE(replies.ends_with("third")) << replies;
}

/// Whether a connection outlives a request.
struct KeptCase {
  const char* name;
  std::string head;
  bool kept;
  std::string told;  // in the reply's head; "": nothing of the connection
};
class KeptConnection : public testing::TestWithParam<KeptCase> {};

TEST_P(KeptConnection, IsAsTheClientWants) {
  const standin::Server server;
  RawClient client(server.port());
  client.send(GetParam().head + "\r\n");
  const std::string head = client.readHead();
  EXPECT_THAT(head, HasSubstr(GetParam().told));
  EXPECT_EQ(head.find("Connection:") == std::string::npos, GetParam().told.empty());
  client.send(kGet + kHost + "Connection: close\r\n\r\n");
  client.readToEnd();
  EXPECT_EQ(server.requests().size(), GetParam().kept ? 2U : 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Versions, KeptConnection,
    testing::Values(KeptCase{"since_1_1", kGet + kHost, true, ""},
                    KeptCase{"since_1_1_when_asked", kGet + kHost + "Connection: keep-alive\r\n", true, ""},
                    KeptCase{"not_when_told", kGet + kHost + "Connection: close\r\n", false, "Connection: close\r\n"},
                    KeptCase{"not_when_told_in_a_list", kGet + kHost + "connection: TE , Close\r\n", false,
                             "Connection: close\r\n"},
                    KeptCase{"not_in_1_0", "GET / HTTP/1.0\r\n", false, "Connection: close\r\n"},
                    KeptCase{"in_1_0_when_asked", "GET / HTTP/1.0\r\nConnection: Keep-Alive\r\n", true,
                             "Connection: keep-alive\r\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Http, AsksForABodyThatWaits) {
  client.send(kPost + "Content-Length: 4\r\nExpect: 100-Continue\r\n\r\n");
  EXPECT_EQ(client.readHead(), "HTTP/1.1 100 Continue\r\n\r\n");
  client.send("body");
  EXPECT_THAT(client.readHead(), StartsWith("HTTP/1.1 405 "));
  EXPECT_EQ(server.requests().at(0).body, "body");
}

TEST_F(Http, AsksForNoBodyBeforeHTTP11) {
  client.send("POST / HTTP/1.0\r\nContent-Length: 4\r\nExpect: 100-continue\r\n\r\nbody");
  EXPECT_THAT(client.readHead(), StartsWith("HTTP/1.1 405 "));
}

TEST_F(Http, SendsNoBodyWhereThereIsNone) {
  server.script({.status = 200, .body = "four"});  // to HEAD
  server.script({.status = 204, .body = "four"});
  server.script({.status = 304, .body = "four"});
  client.send("HEAD / HTTP/1.1\r\n" + kHost + "\r\n");
  EXPECT_THAT(client.readHead(), HasSubstr("\r\nContent-Length: 4\r\n"));
  for (const std::string status : {"204", "304"}) {
    client.send(kGet + kHost + "\r\n");
    const std::string head = client.readHead();
    EXPECT_THAT(head, StartsWith("HTTP/1.1 " + status + " "));
    EXPECT_THAT(head, Not(HasSubstr("Content-Length")));
  }
  client.send(kGet + kHost + "Connection: close\r\n\r\n");
  EXPECT_THAT(client.readToEnd(), StartsWith("HTTP/1.1 200 OK\r\n"));
}

/// What a client has sent, and read up to `reply`, when the server ends.
struct WaitingCase {
  const char* name;
  std::string sent;
  std::string reply;
};
class WaitingClient : public testing::TestWithParam<WaitingCase> {};

TEST_P(WaitingClient, HoldsNoEndUp) {
  auto server = std::make_unique<standin::Server>();
  RawClient client(server->port());
  client.send(GetParam().sent);
  client.readTo(GetParam().reply);
  while (server->connectionCount() == 0) std::this_thread::yield();
  const auto start = Clock::now();
  server.reset();
  EXPECT_LT(Clock::now() - start, kPrompt);
  EXPECT_EQ(client.readToEnd(), "");
}

INSTANTIATE_TEST_SUITE_P(
    States, WaitingClient,
    testing::Values(WaitingCase{"silent", "", ""}, WaitingCase{"in_a_head", kGet + "Ho", ""},
                    WaitingCase{"in_a_body", kPost + "Content-Length: 9\r\nExpect: 100-continue\r\n\r\nbo",
                                "100 Continue\r\n\r\n"},
                    WaitingCase{"idle", "GET /api/x HTTP/1.1\r\n" + kHost + "\r\n", "page not found"},
                    WaitingCase{"refused_and_still_there", "nonsense\r\n", "\r\n\r\n"},
                    WaitingCase{"served_and_still_there",
                                "GET /api/x HTTP/1.1\r\n" + kHost + "Connection: close\r\n\r\n", "page not found"}),
    [](const auto& row) { return std::string(row.param.name); });

class HttpTls : public testing::Test {
 protected:
  TestCA authority;
  TestCA::Names names = authority.issue("localhost");
  std::unique_ptr<standin::Server> server = std::make_unique<standin::Server>(
      standin::Options{.certificateFile = names.certificateFile, .privateKeyFile = names.keyFile});
};

TEST_F(HttpTls, EndsInTheMiddleOfAHandshake) {
  RawClient client(server->port());
  while (server->connectionCount() == 0) std::this_thread::yield();
  const auto start = Clock::now();
  server.reset();
  EXPECT_LT(Clock::now() - start, kPrompt);
}

TEST_F(HttpTls, GoesOnAfterAClientWithoutTls) {
  RawClient client(server->port());
  client.send(kGet + kHost + "\r\n");
  EXPECT_THAT(client.readToEnd(), Not(HasSubstr("HTTP/1.1")));
  Client another(server->address());
  another.trust(authority.getFile());
  EXPECT_EQ(another.get("/v1/models").status, 200);
  EXPECT_EQ(server->requests().size(), 1U);
}

}  // namespace
