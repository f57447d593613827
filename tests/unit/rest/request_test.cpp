// What goes out on the wire.
#include "rest_caller.h"
#include "support/platform.h"
#include "support/sockets.h"

namespace {

const std::string kOk = raw::reply(200, "{}");

std::string firstLine(const std::string& request) { return request.substr(0, request.find("\r\n")); }

// Which encodings are accepted beside these two differs with how libcurl was built.
std::string withoutFurtherEncodings(std::string request) {
  const std::string always = "Accept-Encoding: deflate, gzip";
  const auto further = request.find(always) + always.size();
  return request.erase(further, request.find("\r\n", further) - further);
}

std::string bodyOfRequest(const std::string& request) { return request.substr(request.find("\r\n\r\n") + 4); }

TEST(Request, GetIsSentWholeAndInOrder) {
  RawServer server(kOk);
  RestCaller caller;
  caller.session.setAuthorizationHeaderValue("Bearer abc");
  caller.session.addHeaderParams({{"X-Session", "1"}, {"X-Second", "two words"}});
  const RestResult outcome =
      caller.get(server.getURL() + "/v1/models", {{"b", "2"}, {"a", "x y&z=/é"}}, {{"X-Own", "3"}});
  EXPECT_EQ(outcome.code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  EXPECT_EQ(
      withoutFurtherEncodings(server.getRequests()[0]),
      "GET /v1/models?b=2&a=x%20y%26z%3D%2F%C3%A9 HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.getPort()) +
          "\r\nUser-Agent: libqai\r\nAccept: */*\r\nAccept-Encoding: deflate, gzip\r\n"
          "Authorization: Bearer abc\r\nX-Session: 1\r\nX-Second: two words\r\nX-Own: 3\r\n\r\n");
}

// RFC 9110, 5.6.2
TEST(Request, NamesOfHeadersMayHoldWhatATokenMay) {
  RawServer server(kOk);
  const std::string name = "a!#$%&'*+-.^_`|~9Z";
  EXPECT_EQ(RestCaller{}.get(server.getURL(), {}, {{name, "1"}}).code, 0);
  ASSERT_EQ(server.getRequests().size(), 1U);
  EXPECT_TRUE(holdsLine(server.getRequests()[0], name + ": 1"));
}

TEST(Request, PostCarriesTheJsonTextAsItWasWhenTaken) {
  RawServer server(kOk);
  COJson json;
  json.addKeyValue("text")->setString("äöü / \"quoted\"");
  CMRestPostRequest request;
  request.setURL(server.getURL() + "/v1/chat");
  request.updateJson(&json);
  json.setNull();
  const RestResult outcome = RestCaller{}.run(request, &ICSRestClient::executePost);
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

TEST(Request, QueryValuesMayHoldAnyByte) {
  RawServer server(kOk);
  EXPECT_EQ(RestCaller{}.get(server.getURL() + "/v1", {{"run_id", "a\r\nX: y\x1f\x7f\xff"}}).code, 0);
  EXPECT_EQ(RestCaller{}.get(server.getURL() + "/v1", {{"run_id", std::string(1, '\0')}}).code, 0);
  ASSERT_EQ(server.getRequests().size(), 2U);
  EXPECT_EQ(firstLine(server.getRequests()[0]), "GET /v1?run_id=a%0D%0AX%3A%20y%1F%7F%FF HTTP/1.1");
  EXPECT_EQ(firstLine(server.getRequests()[1]), "GET /v1?run_id=%00 HTTP/1.1");
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

TEST(Request, SocketIsNotInheritedByOtherPrograms) {
  int port = 0;
  bool inherited = true;
  RawServer server({raw::Script{raw::Call{[&] { inherited = sockets::isInherited(sockets::findConnectionTo(port)); }},
                                raw::Send{kOk}}});
  port = server.getPort();
  EXPECT_EQ(RestCaller{}.get(server.getURL()).code, 0);
  EXPECT_FALSE(inherited);
}

}  // namespace
