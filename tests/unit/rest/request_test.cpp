// What goes out on the wire.
#include "rest_caller.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <filesystem>

namespace {

const std::string kOk = raw::reply(200, "{}");

std::string firstLine(const std::string& request) { return request.substr(0, request.find("\r\n")); }

std::string bodyOfRequest(const std::string& request) { return request.substr(request.find("\r\n\r\n") + 4); }

TEST(Request, GetIsSentWholeAndInOrder) {
  RawServer server(kOk);
  RestCaller caller;
  caller.session.setAuthorizationHeaderValue("Bearer abc");
  caller.session.addHeaderParams({{"X-Session", "1"}, {"X-Second", "two words"}});
  const Outcome outcome = caller.get(server.getURL() + "/v1/models", {{"b", "2"}, {"a", "x y&z=/é"}}, {{"X-Own", "3"}});
  EXPECT_EQ(outcome.code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  EXPECT_EQ(
      server.getRequests()[0],
      "GET /v1/models?b=2&a=x%20y%26z%3D%2F%C3%A9 HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.getPort()) +
          "\r\nUser-Agent: libqai\r\nAccept: */*\r\nAccept-Encoding: deflate, gzip, br, zstd\r\n"
          "Authorization: Bearer abc\r\nX-Session: 1\r\nX-Second: two words\r\nX-Own: 3\r\n\r\n");
}

TEST(Request, PostCarriesTheJsonTextAsItWasWhenTaken) {
  RawServer server(kOk);
  COJson json;
  json.addKeyValue("text")->setString("äöü / \"quoted\"");
  CMRestPostRequest request;
  request.setURL(server.getURL() + "/v1/chat");
  request.updateJson(&json);
  json.setNull();
  const Outcome outcome = RestCaller{}.run(request, &ICSRestClient::executePost);
  EXPECT_EQ(outcome.code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  const std::string sent = server.getRequests()[0];
  EXPECT_EQ(firstLine(sent), "POST /v1/chat HTTP/1.1");
  EXPECT_EQ(bodyOfRequest(sent), R"({"text":"äöü / \"quoted\""})");
  EXPECT_TRUE(holdsLine(sent, "Content-Type: application/json")) << sent;
  EXPECT_TRUE(holdsLine(sent, "Accept: application/json")) << sent;
  EXPECT_TRUE(holdsLine(sent, "Content-Length: 30")) << sent;
  EXPECT_EQ(sent.find("Expect"), std::string::npos) << sent;
}

TEST(Request, PostWithoutJsonHasLengthZeroAndNoType) {
  RawServer server(kOk);
  EXPECT_EQ(RestCaller{}.post(server.getURL() + "/run", nullptr).code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  const std::string sent = server.getRequests()[0];
  EXPECT_EQ(firstLine(sent), "POST /run HTTP/1.1");
  EXPECT_TRUE(holdsLine(sent, "Content-Length: 0")) << sent;
  EXPECT_EQ(sent.find("Content-Type"), std::string::npos) << sent;
  EXPECT_EQ(bodyOfRequest(sent), "");
}

TEST(Request, PostOfSeveralMebibytesArrivesWhole) {
  RawServer server(kOk);
  const std::string text(std::size_t{5} << 20, 'x');
  COJson json;
  json.setStringReference(text);
  EXPECT_EQ(RestCaller{}.post(server.getURL() + "/run", &json).code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  EXPECT_TRUE(bodyOfRequest(server.getRequests()[0]) == "\"" + text + "\"");
}

TEST(Request, DeleteHasNoBody) {
  RawServer server(kOk);
  EXPECT_EQ(RestCaller{}.remove(server.getURL() + "/threads/1").code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  const std::string sent = server.getRequests()[0];
  EXPECT_EQ(firstLine(sent), "DELETE /threads/1 HTTP/1.1");
  EXPECT_EQ(sent.find("Content-"), std::string::npos) << sent;
}

TEST(Request, EmptyHeaderValuesAreSentEmpty) {
  RawServer server(kOk);
  EXPECT_EQ(RestCaller{}.get(server.getURL() + "/", {}, {{"X-Empty", ""}, {"X-Blank", "  "}}).code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  EXPECT_TRUE(holdsLine(server.getRequests()[0], "X-Empty:")) << server.getRequests()[0];
  EXPECT_TRUE(holdsLine(server.getRequests()[0], "X-Blank:")) << server.getRequests()[0];
}

TEST(Request, QueryContinuesTheOneOfTheAddress) {
  RawServer server(kOk);
  EXPECT_EQ(RestCaller{}.get(server.getURL() + "/v1?limit=3", {{"order", "asc"}}).code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  EXPECT_EQ(firstLine(server.getRequests()[0]), "GET /v1?limit=3&order=asc HTTP/1.1");
}

struct PathCase {
  const char* name;
  std::string given;
  std::string sent;
};
class RequestPath : public testing::TestWithParam<PathCase> {};

TEST_P(RequestPath, IsSentAsItStands) {
  RawServer server(kOk);
  EXPECT_EQ(RestCaller{}.get(server.getURL() + GetParam().given).code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  EXPECT_EQ(firstLine(server.getRequests()[0]), "GET " + GetParam().sent + " HTTP/1.1");
}

INSTANTIATE_TEST_SUITE_P(Forms, RequestPath,
                         testing::Values(PathCase{"dot_segments", "/a/../b/./c", "/a/../b/./c"},
                                         PathCase{"encoded_dots", "/a/%2e%2E/b", "/a/%2e%2E/b"},
                                         PathCase{"encoded_slash", "/a%2Fb", "/a%2Fb"},
                                         PathCase{"doubled_slash", "//a//b", "//a//b"}, PathCase{"none", "", "/"}),
                         [](const auto& row) { return std::string(row.param.name); });

// The descriptor of this process's connection to `port`, or -1.
int findSocketTo(int port) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename().string());
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0 || peer.sin_family != AF_INET) continue;
    if (ntohs(peer.sin_port) == port) return descriptor;
  }
  return -1;
}

TEST(Request, SocketIsNotInheritedByOtherPrograms) {
  int port = 0;
  int flags = -1;
  RawServer server({raw::Script{raw::Call{[&] { flags = fcntl(findSocketTo(port), F_GETFD); }}, raw::Send{kOk}}});
  port = server.getPort();
  EXPECT_EQ(RestCaller{}.get(server.getURL()).code, 0);
  ASSERT_NE(flags, -1);
  EXPECT_NE(flags & FD_CLOEXEC, 0);
}

}  // namespace
