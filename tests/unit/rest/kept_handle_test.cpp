// A pool centre keeps the handle of a request for one like it: what it must never carry over, and when it must not be
// kept.
#include "rest_caller.h"
#include "support/test_ca.h"

#include <functional>
#include <optional>
#include <ostream>
#include <utility>

namespace {

using raw::Close;
using raw::Send;

const std::string kOk = raw::reply(200, "{}");

/// Everything that can differ between two requests of one pool.
struct Ask {
  enum class Method { Get, Post, Delete } method = Method::Post;
  CMRestGlobalSettings settings{};
  std::optional<std::string> authorization{};
  CMRestParams sessionHeaders{};
  std::string path = "/v1/chat";
  CMRestParams query{};
  CMRestParams headers{};
  std::string text = "question";  // the body; none when empty

  RestResult send(ICSHTTPPoolCenter* pool, const std::string& server) const {
    RestCaller caller;
    caller.settings = settings;
    if (authorization) caller.session.setAuthorizationHeaderValue(*authorization);
    caller.session.addHeaderParams(sessionHeaders);
    caller.session.httpPoolCenter = pool;
    COJson json;
    json.addKeyValue("text")->setString(text);
    if (method == Method::Get) return caller.get(server + path, query, headers);
    if (method == Method::Delete) return caller.remove(server + path);
    return caller.post(server + path, text.empty() ? nullptr : &json, query, headers);
  }
};

Ask changed(const std::function<void(Ask&)>& change) {
  Ask ask;
  change(ask);
  return ask;
}

struct OrderCase {
  const char* name;
  Ask first;
  Ask second;
};

void PrintTo(const OrderCase& row, std::ostream* out) { *out << row.name; }

class KeptHandle : public testing::TestWithParam<OrderCase> {};

// What each request is on its own is the measure.
TEST_P(KeptHandle, CarriesNothingOverToARequestOfAnotherKind) {
  RawServer server(kOk);
  const auto sendAlone = [&](const Ask& ask) {
    const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
    EXPECT_EQ(ask.send(pool.get(), server.getURL()).code, 0);
    return server.getRequests().back();
  };
  const auto& [name, first, second] = GetParam();
  const std::string firstAlone = sendAlone(first);
  const std::string secondAlone = sendAlone(second);
  ASSERT_NE(firstAlone, secondAlone);

  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  for (int round = 0; round < 3; ++round) {
    for (const auto& [ask, alone] : {std::pair(&first, &firstAlone), std::pair(&second, &secondAlone)}) {
      for (int repeat = 0; repeat < 3; ++repeat) {  // the third comes upon a handle that was kept
        EXPECT_EQ(ask->send(pool.get(), server.getURL()).code, 0);
        EXPECT_EQ(server.getRequests().back(), *alone);
      }
    }
  }
  EXPECT_EQ(server.getConnections(), 3U);
}

INSTANTIATE_TEST_SUITE_P(
    Differing, KeptHandle,
    testing::Values(OrderCase{"key", changed([](Ask& ask) { ask.authorization = "Bearer secret"; }),
                              changed([](Ask& ask) { ask.authorization = "Bearer other"; })},
                    OrderCase{"no_key", changed([](Ask& ask) { ask.authorization = "Bearer secret"; }), {}},
                    OrderCase{"empty_key", changed([](Ask& ask) { ask.authorization = ""; }), {}},
                    OrderCase{"session_header",
                              changed([](Ask& ask) {
                                ask.sessionHeaders = {{"OpenAI-Beta", "v2"}};
                              }),
                              {}},
                    OrderCase{"header", changed([](Ask& ask) {
                                ask.headers = {{"X-One", "1"}};
                              }),
                              changed([](Ask& ask) {
                                ask.headers = {{"X-One", "2"}};
                              })},
                    OrderCase{"query",
                              changed([](Ask& ask) {
                                ask.query = {{"key", "secret"}};
                              }),
                              {}},
                    OrderCase{"path", {}, changed([](Ask& ask) { ask.path = "/v1/other"; })},
                    OrderCase{"body", changed([](Ask& ask) { ask.text = "a longer question than the next"; }), {}},
                    OrderCase{"large_body", changed([](Ask& ask) { ask.text = std::string(300'000, 'x'); }), {}},
                    OrderCase{"no_body", {}, changed([](Ask& ask) { ask.text.clear(); })},
                    OrderCase{"get", {}, changed([](Ask& ask) { ask.method = Ask::Method::Get; })},
                    OrderCase{"delete", {}, changed([](Ask& ask) { ask.method = Ask::Method::Delete; })},
                    OrderCase{"get_and_delete", changed([](Ask& ask) { ask.method = Ask::Method::Get; }),
                              changed([](Ask& ask) { ask.method = Ask::Method::Delete; })},
                    OrderCase{"user_agent", {}, changed([](Ask& ask) { ask.settings.userAgent = "other"; })}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(KeptHandleBehindAProxy, LeavesTheProxysPasswordThere) {
  RawServer proxy(kOk);
  RawServer server(kOk);
  Ask behindProxy;
  behindProxy.settings.proxyURL = "http://user:password@" + nameOf(proxy);
  const Ask direct;
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ((i % 6 < 3 ? behindProxy : direct).send(pool.get(), server.getURL()).code, 0);
  }
  ASSERT_EQ(proxy.getRequests().size(), 6U);
  ASSERT_EQ(server.getRequests().size(), 3U);
  for (const std::string& request : proxy.getRequests()) EXPECT_TRUE(request.find("Proxy-Authorization: ") < 500);
  for (const std::string& request : server.getRequests()) EXPECT_EQ(request.find("Proxy-"), std::string::npos);
}

TEST(KeptHandleWithAnotherLimit, KeepsToIt) {
  RawServer server(raw::reply(200, std::string(1000, 'x')));
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  Ask ask;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ask.send(pool.get(), server.getURL()).code, 0);
  ask.settings.maxReplyBytes = 999;
  EXPECT_EQ(ask.send(pool.get(), server.getURL()).code, toCode(CFRestError::ReplyTooLarge));
  ask.settings.maxReplyBytes = 1000;
  EXPECT_EQ(ask.send(pool.get(), server.getURL()).code, 0);
}

TEST(KeptHandleAfterAFailure, IsANewOne) {
  RawServer server({{Send{kOk}},
                    {Send{kOk}},
                    {Send{kOk}},
                    {Send{raw::reply(401, "")}},
                    {Send{kOk}},
                    {Send{kOk}},
                    {Close{}},
                    {Send{kOk}}});
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  const Ask ask;
  const std::int32_t lost = toCode(CFRestError::ConnectionLost);
  for (const std::int32_t code : {0, 0, 0, 401, 0, 0, lost}) {
    EXPECT_EQ(ask.send(pool.get(), server.getURL()).code, code);
  }
  EXPECT_EQ(bodyOf(ask.send(pool.get(), server.getURL())), "{}");
}

// libcurl gives a handle up that found a connection dead five times.
TEST(KeptHandleOfAnIdleConnection, IsNeverUsedUp) {
  const TestCA ca;
  raw::Script last{Send{kOk}, Close{}};
  std::vector<raw::Script> scripts;
  constexpr int kConnections = 9;
  for (int i = 0; i < kConnections; ++i) scripts.insert(scripts.end(), {{Send{kOk}}, {Send{kOk}}, last});
  RawServer server(scripts, makeTLSContext(ca.issue("localhost")));
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  Ask ask;
  ask.settings.caFile = ca.getFile();
  for (std::size_t connection = 1; connection <= kConnections; ++connection) {
    for (int i = 0; i < 3; ++i) {
      const RestResult outcome = ask.send(pool.get(), server.getURL());
      EXPECT_EQ(outcome.code, 0) << outcome.text;
    }
    EXPECT_TRUE(server.waitForEnds(connection));
  }
  EXPECT_EQ(server.getConnections(), static_cast<std::size_t>(kConnections));
}

/// A body with a long part that is sent from where it lies.
class BorrowedBody : public testing::Test {
 protected:
  BorrowedBody() { caller_.session.httpPoolCenter = pool_.get(); }

  RestResult post(const std::string& server, const std::string& history) {
    COJson json;
    json.addKeyValue("before")->setString("b");
    json.addKeyValue("list")->addArrayItem()->setJsonReference(history);
    json.addKeyValue("after")->setString("a");
    expected_ = R"({"before":"b","list":[)" + history + R"(],"after":"a"})";
    return caller_.post(server, &json);
  }
  bool isSent(const std::string& request) const { return request.ends_with("\r\n\r\n" + expected_); }

  std::unique_ptr<ICSHTTPPoolCenter> pool_{CF::createHTTPPoolCenter()};
  RestCaller caller_;
  std::string expected_;
};

std::string makeHistory(std::size_t size) {
  std::string history = "\"";
  for (std::size_t i = 0; history.size() + 1 < size; ++i) history += static_cast<char>('a' + i % 26);
  return history + "\"";
}

TEST_F(BorrowedBody, ArrivesWholeWhateverItsSize) {
  RawServer server(kOk);
  constexpr std::size_t kBorrowed = std::size_t{64} << 10;
  for (const std::size_t size : {kBorrowed - 1, kBorrowed, kBorrowed + 1, std::size_t{2} << 20, std::size_t{10},
                                 std::size_t{5} << 20, kBorrowed}) {
    EXPECT_EQ(post(server.getURL(), makeHistory(size)).code, 0);
    EXPECT_TRUE(isSent(server.getRequests().back())) << size;
  }
  EXPECT_EQ(server.getConnections(), 1U);
}

TEST_F(BorrowedBody, IsSentOnAnotherConnectionWhenTheKeptOneWasClosed) {
  const TestCA ca;
  RawServer server({{Send{kOk}, Close{}}}, makeTLSContext(ca.issue("localhost")));
  caller_.settings.caFile = ca.getFile();
  const std::string history = makeHistory(100'000);
  for (std::size_t i = 1; i <= 4; ++i) {
    const RestResult outcome = post(server.getURL(), history);
    EXPECT_EQ(outcome.code, 0) << outcome.text;
    EXPECT_TRUE(isSent(server.getRequests().back()));
    EXPECT_TRUE(server.waitForEnds(i));
  }
}

TEST_F(BorrowedBody, IsOneTextForWhoAsks) {
  COJson json;
  const std::string history = makeHistory(100'000);
  json.addArrayItem()->setJsonReference(history);
  json.addArrayItem()->setJsonReference(history);
  json.addArrayItem()->setJsonReference("1,2");
  CMRestPostRequest request;
  request.updateJson(&json);
  EXPECT_EQ(request.getBody(), json.obtainJsonString());
  EXPECT_EQ(request.getBody(), "[" + history + "," + history + ",1,2]");
  ASSERT_EQ(request.getBodyParts().size(), 5U);
  EXPECT_EQ(request.getBodyParts()[1].data(), history.data());
  EXPECT_EQ(request.getBodyParts()[3].data(), history.data());
  request.updateJson(nullptr);
  EXPECT_EQ(request.getBody(), "");
  EXPECT_FALSE(request.hasBody());
}

}  // namespace
