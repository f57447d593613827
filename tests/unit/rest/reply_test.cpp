// What is made of a server's answer, or of none.
#include "rest_caller.h"

#include <chrono>

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using raw::Close;
using raw::Reset;
using raw::Send;
using raw::Stall;

std::string lost(const RawServer& server) {
  return "The connection to " + nameOf(server) + " was lost before the reply was complete";
}

std::string unanswered(const RawServer& server) {
  return "The connection to " + nameOf(server) + " was lost before a reply; the service may have acted";
}

std::string notHTTP(const RawServer& server) { return nameOf(server) + " did not answer in HTTP"; }

class SuccessStatus : public testing::TestWithParam<int> {};

TEST_P(SuccessStatus, GivesZeroAndTheResponse) {
  RawServer server(raw::reply(GetParam(), R"({"a":1})"));
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 0);
  ASSERT_NE(outcome.response, nullptr);
  EXPECT_EQ(outcome.response->getStatus(), GetParam());
  EXPECT_EQ(bodyOf(outcome), R"({"a":1})");
  ASSERT_NE(outcome.response->getJson(), nullptr);
  EXPECT_EQ(outcome.response->getJson()->obtainJsonValue("a")->obtainNumber(), 1.0);
  EXPECT_EQ(outcome.text, "");
}

INSTANTIATE_TEST_SUITE_P(Statuses, SuccessStatus, testing::Values(200, 201, 206, 299));

TEST(Reply, WithoutContentIsASuccessWithAnEmptyBody) {
  RawServer server("HTTP/1.1 204 No Content\r\n\r\n");
  const RestResult outcome = RestCaller{}.remove(server.getURL());
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(bodyOf(outcome), "");
  ASSERT_NE(outcome.response, nullptr);
  EXPECT_EQ(outcome.response->getJson(), nullptr);
}

TEST(Reply, OfMoreThanHalfAMillionValuesIsNoJson) {
  constexpr std::size_t kMost = std::size_t{512} << 10;  // the array is one of them
  std::string zeros = "[0";
  for (std::size_t i = 0; i < kMost - 2; ++i) zeros += ",0";
  EXPECT_NE(CMRestResourceResponse(200, zeros + "]").getJson(), nullptr);
  EXPECT_EQ(CMRestResourceResponse(200, zeros + ",0]").getJson(), nullptr);
  EXPECT_EQ(CMRestResourceResponse(200, zeros + ",{}]").getJson(), nullptr);
  const std::string text = R"([")" + std::string(kMost, ',') + R"(\",[{"])";
  EXPECT_NE(CMRestResourceResponse(200, text).getJson(), nullptr) << "what a string holds is no value";
}

TEST(Reply, MayFollowInterimReplies) {
  RawServer server("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" + raw::reply(200, "[]"));
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(bodyOf(outcome), "[]");
}

TEST(Reply, MayEndWithTrailerFields) {
  RawServer server("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nX-Sum: 1\r\n\r\n");
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(bodyOf(outcome), "{}");
}

TEST(Reply, WithoutLengthEndsWithTheConnection) {
  RawServer server({{Send{"HTTP/1.0 200 OK\r\n\r\n{}"}, Close{}}});
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(bodyOf(outcome), "{}");
}

struct StatusCase {
  int status;
  std::string title;
};
class FailureStatus : public testing::TestWithParam<StatusCase> {};

TEST_P(FailureStatus, IsTheErrorCodeAndKeepsTheBody) {
  RawServer server(raw::reply(GetParam().status, R"({"error":"no"})", "Location: /elsewhere\r\nRetry-After: 1\r\n"));
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, GetParam().status);
  ASSERT_NE(outcome.response, nullptr);
  EXPECT_EQ(outcome.response->getStatus(), GetParam().status);
  EXPECT_EQ(bodyOf(outcome), R"({"error":"no"})");
  EXPECT_EQ(outcome.text, "");
  EXPECT_EQ(outcome.title, GetParam().title);
  EXPECT_EQ(outcome.message, GetParam().title);
  EXPECT_EQ(server.getRequests().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Statuses, FailureStatus,
    testing::Values(StatusCase{300, "HTTP 300 Multiple Choices"}, StatusCase{301, "HTTP 301 Moved Permanently"},
                    StatusCase{302, "HTTP 302 Found"}, StatusCase{303, "HTTP 303 See Other"},
                    StatusCase{307, "HTTP 307 Temporary Redirect"}, StatusCase{308, "HTTP 308 Permanent Redirect"},
                    StatusCase{400, "HTTP 400 Bad Request"}, StatusCase{401, "HTTP 401 Unauthorized"},
                    StatusCase{403, "HTTP 403 Forbidden"}, StatusCase{404, "HTTP 404 Not Found"},
                    StatusCase{407, "HTTP 407 Proxy Authentication Required"},
                    StatusCase{417, "HTTP 417 Expectation Failed"}, StatusCase{429, "HTTP 429 Too Many Requests"},
                    StatusCase{500, "HTTP 500 Internal Server Error"}, StatusCase{503, "HTTP 503 Service Unavailable"},
                    StatusCase{529, "HTTP 529"}, StatusCase{799, "HTTP 799"}),
    [](const auto& row) { return std::to_string(row.param.status); });

TEST(Reply, SwitchingProtocolsIsAFailure) {
  RawServer server({{Send{"HTTP/1.1 101 Switching Protocols\r\nUpgrade: other\r\n\r\nother"}, Close{}}});
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 101);
  EXPECT_EQ(outcome.title, "HTTP 101 Switching Protocols");
}

// Answers that end too early.
struct CutCase {
  const char* name;
  raw::Script script;
};
class CutReply : public testing::TestWithParam<CutCase> {};

TEST_P(CutReply, IsALostConnection) {
  RawServer server({GetParam().script});
  expectFailure(RestCaller{}.get(server.getURL()), CFRestError::ConnectionLost, lost(server));
}

const std::string kHead = "HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n";

INSTANTIATE_TEST_SUITE_P(
    Places, CutReply,
    testing::Values(
        CutCase{"closed_after_the_status_line", {Send{"HTTP/1.1 200 OK\r\n"}, Close{}}},
        CutCase{"closed_in_the_headers", {Send{"HTTP/1.1 200 OK\r\nContent-Length: 2\r\nX-A: b\r\n"}, Close{}}},
        CutCase{"closed_in_the_headers_after_an_interim_reply",
                {Send{"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nX-A: b\r\n"}, Close{}}},
        CutCase{"reset_in_the_headers", {Send{"HTTP/1.1 200 OK\r\nX-A: b\r\n"}, Reset{}}},
        CutCase{"closed_before_the_body", {Send{kHead}, Close{}}},
        CutCase{"closed_in_the_body", {Send{kHead + "{}"}, Close{}}},
        CutCase{"reset_in_the_body", {Send{kHead + "{}"}, Reset{}}},
        CutCase{"closed_in_a_chunk", {Send{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n8\r\n{}"}, Close{}}},
        CutCase{"closed_between_chunks",
                {Send{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n"}, Close{}}}),
    [](const auto& row) { return std::string(row.param.name); });

class CutBeforeAnyReply : public testing::TestWithParam<CutCase> {};

TEST_P(CutBeforeAnyReply, IsTold) {
  RawServer server({GetParam().script});
  expectFailure(RestCaller{}.get(server.getURL()), CFRestError::ConnectionLost, unanswered(server));
}

INSTANTIATE_TEST_SUITE_P(Places, CutBeforeAnyReply,
                         testing::Values(CutCase{"closed_at_once", {Close{}}}, CutCase{"reset_at_once", {Reset{}}},
                                         CutCase{"closed_after_an_interim_reply",
                                                 {Send{"HTTP/1.1 100 Continue\r\n\r\n"}, Close{}}},
                                         CutCase{"closed_in_the_status_line", {Send{"HTTP/1.1 20"}, Close{}}}),
                         [](const auto& row) { return std::string(row.param.name); });

// Answers that are no HTTP.
struct NoiseCase {
  const char* name;
  std::string bytes;
};
class Noise : public testing::TestWithParam<NoiseCase> {};

TEST_P(Noise, IsNoHTTP) {
  RawServer server({{Send{GetParam().bytes}, Close{}}});
  expectFailure(RestCaller{}.get(server.getURL()), CFRestError::NotHTTP, notHTTP(server));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, Noise,
    testing::Values(NoiseCase{"http_0_9", "{\"a\":1}"}, NoiseCase{"greeting", "220 mail.example ESMTP\r\n"},
                    NoiseCase{"tls_alert", "\x15\x03\x03\x00\x02\x02\x28"s},
                    NoiseCase{"unknown_version", "HTTP/7.0 200 OK\r\nContent-Length: 2\r\n\r\n{}"},
                    NoiseCase{"long_status", "HTTP/1.1 9999 X\r\nContent-Length: 2\r\n\r\n{}"},
                    NoiseCase{"status_zero", "HTTP/1.1 000 X\r\nContent-Length: 2\r\n\r\n{}"},
                    NoiseCase{"status_below_100", "HTTP/1.1 099 X\r\nContent-Length: 2\r\n\r\n{}"},
                    NoiseCase{"nul_in_a_header", "HTTP/1.1 200 OK\r\nX: a\0b\r\nContent-Length: 2\r\n\r\n{}"s}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Connection, RefusedIsToldWithTheReason) {
  std::string url;
  std::string name;
  {
    const RawServer server(raw::reply(200, ""));
    url = server.getURL();
    name = nameOf(server);
  }
  expectFailure(RestCaller{}.get(url + "/secret", {{"key", "1"}}), CFRestError::CouldNotConnect,
                "Could not connect to " + name + ": connection refused");
}

TEST(Connection, ToAnUnknownHostNamesTheHost) {
  const std::string host(64, 'a');  // too long for a name, which the system knows without asking a server
  expectFailure(RestCaller{}.get("http://" + host + "/secret", {{"key", "1"}}), CFRestError::HostNotFound,
                "Could not find the host " + host);
}

TEST(Connection, ToAHostWhoseNameIsTooLongForLibcurlNamesIt) {
  const std::string host(0x10000, 'a');
  expectFailure(RestCaller{}.get("http://" + host + "/secret", {{"key", "1"}}), CFRestError::BadRequest,
                "The host name " + host + " can't be used");
}

TEST(Connection, NamesAnIPv6AddressInBrackets) {
  const RestResult outcome = RestCaller{}.get("http://[::1]:1/");
  EXPECT_EQ(outcome.code, toCode(CFRestError::CouldNotConnect));
  EXPECT_TRUE(outcome.text.starts_with("Could not connect to [::1]:1: ")) << outcome.text;
}

// The key must not turn up in a text, wherever it was sent and however the request fails.
class Key : public testing::TestWithParam<CutCase> {};

TEST_P(Key, IsInNoText) {
  const std::string key = "sk/can+ary";
  RawServer server({GetParam().script});
  RestCaller caller;
  caller.session.setAuthorizationHeaderValue("Bearer " + key);
  caller.session.addHeaderParam("x-api-key", key);
  caller.settings.totalTimeout = 200ms;
  caller.settings.maxReplyBytes = 1000;
  const RestResult outcome = caller.get(server.getURL() + "/models/" + key, {{"key", key}});
  EXPECT_NE(outcome.code, 0);
  for (const std::string& text : {outcome.text, outcome.title, outcome.message}) {
    EXPECT_EQ(text.find(key), std::string::npos) << text;
    EXPECT_EQ(text.find("sk%2Fcan%2Bary"), std::string::npos) << text;
  }
}

INSTANTIATE_TEST_SUITE_P(Failures, Key,
                         testing::Values(CutCase{"closed", {Close{}}}, CutCase{"stalled", {Stall{}}},
                                         CutCase{"no_http", {Send{"sk/can+ary\r\n"}, Close{}}},
                                         CutCase{"too_large", {Send{raw::reply(200, std::string(1001, 'x'))}}},
                                         CutCase{"phrase", {Send{"HTTP/1.1 400 sk/can+ary\r\n\r\n"}, Close{}}}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
