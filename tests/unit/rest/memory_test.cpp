// Requests for which the memory runs out: none may crash, leak, or pass off half a reply as a whole one.
#include "rest_caller.h"
#include "support/allocation_probe.h"

#include <future>
#include <new>

namespace {

// Before anything uses libcurl.
const bool kReachesCurl = extendProbeToCurl();

constexpr std::size_t kEnough = 1'000'000;

class MemoryShortage : public testing::TestWithParam<Shortage> {
 protected:
  void SetUp() override { ASSERT_TRUE(kReachesCurl) << "libcurl does not take its memory from here"; }
};

// Runs the request with the memory ending after `granted` allocations.
// @return whether it was run to the end without a failed allocation.
bool runWith(Shortage kind, std::size_t granted, ICSRestClient& client, const CMRestPostRequest& request,
             const std::string& expected) {
  CMRestResourceResponse* response = nullptr;
  bool thrown = false;
  std::int32_t code = 0;
  allowAllocations(granted, kind);
  try {
    code = client.executePost(request, &response);
  } catch (const std::bad_alloc&) {
    thrown = true;
  }
  const bool untouched = !allowAllAllocations();
  const std::unique_ptr<CMRestResourceResponse> owner(response);
  const bool complete = !thrown && code == 0;
  EXPECT_EQ(response != nullptr, complete) << granted;
  if (complete && response != nullptr) {
    EXPECT_EQ(response->getBufferString(), expected) << granted;
    EXPECT_NE(response->getJson(), nullptr) << granted;
  }
  EXPECT_EQ(client.obtainFailureText().empty(), thrown || complete) << granted;
  EXPECT_TRUE(complete || !untouched) << granted;
  return untouched;
}

TEST_P(MemoryShortage, AtAnyPointGivesAFailureOrTheWholeReply) {
  const std::string text = R"({"items":[)" + std::string(20'000, ' ') + R"("a","b"]})";
  RawServer server(raw::reply(200, text));
  COJson json;
  json.addKeyValue("question")->setString(std::string(100, 'q'));
  CMRestPostRequest request;
  request.setURL(server.getURL() + "/v1");
  request.addQueryParams({{"key", "value"}});
  request.updateJson(&json);
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  CMRestSession session;
  session.setAuthorizationHeaderValue("Bearer " + std::string(100, 'k'));
  ICSAppFactory* app = CF::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(app->obtainRestClientFactory()->createRestClient(app, {}, &session));
  for (ICSHTTPPoolCenter* center : {static_cast<ICSHTTPPoolCenter*>(nullptr), pool.get()}) {
    session.httpPoolCenter = center;
    std::size_t point = 0;
    while (!runWith(GetParam(), point, *client, request, text)) ++point;
    EXPECT_GT(point, 20U);
    RecordProperty(center == nullptr ? "pointsAlone" : "pointsInAPool", static_cast<int>(point));
  }
}

// The handle that fails is one that earlier requests left; the next request must be what the first one was.
TEST_P(MemoryShortage, AtAnyPointOfARequestOnAKeptHandleHarmsNoLaterOne) {
  RawServer server(raw::reply(200, "{}"));
  const std::string history = '"' + std::string(100'000, 'h') + '"';
  COJson json;
  json.addArrayItem()->setJsonReference(history);
  CMRestPostRequest request;
  request.setURL(server.getURL() + "/v1");
  request.updateJson(&json);
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  CMRestSession session;
  session.setAuthorizationHeaderValue("Bearer " + std::string(100, 'k'));
  session.httpPoolCenter = pool.get();
  ICSAppFactory* app = CF::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(app->obtainRestClientFactory()->createRestClient(app, {}, &session));
  std::size_t point = 0;
  do {
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(runWith(GetParam(), kEnough, *client, request, "{}"));
      EXPECT_EQ(server.getRequests().back(), server.getRequests().front()) << point;
    }
  } while (!runWith(GetParam(), point++, *client, request, "{}"));
  EXPECT_GT(point, 10U);
}

/// A request that needs no more than the test gives it.
std::int32_t ask(ICSHTTPPoolCenter* pool, const std::string& url, std::string& body) {
  RestCaller caller;
  caller.session.httpPoolCenter = pool;
  const RestResult outcome = caller.get(url);
  body = bodyOf(outcome);
  return outcome.code;
}

TEST_P(MemoryShortage, WhileAPoolIsMadeRefusesItOrLeavesOneThatWorks) {
  RawServer server(raw::reply(200, "{}"));
  bool untouched = false;
  std::size_t point = 0;
  for (; !untouched; ++point) {
    std::unique_ptr<ICSHTTPPoolCenter> pool;
    allowAllocations(point, GetParam());
    try {
      pool.reset(CF::createHTTPPoolCenter());
    } catch (const std::bad_alloc&) {  // refused
    }
    untouched = !allowAllAllocations();
    EXPECT_TRUE(pool != nullptr || !untouched);
    if (pool == nullptr) continue;
    const std::size_t before = server.getConnections();
    for (int i = 0; i < 3; ++i) {
      std::string body;
      EXPECT_EQ(ask(pool.get(), server.getURL(), body), 0) << point;
    }
    EXPECT_EQ(server.getConnections(), before + 1) << point;
  }
  EXPECT_GT(point, 3U);
}

// The pool looks at its connections before it uses them again; it must have all of them.
TEST_P(MemoryShortage, WhileAConnectionIsMadeLeavesNoneThatIsNotLookedAt) {
  bool untouched = false;
  for (std::size_t point = 0; !untouched; ++point) {
    std::promise<void> read, sent;
    RawServer server({{raw::Send{raw::reply(200, "{}")}, raw::Call{[&] { read.get_future().wait(); }},
                       raw::Send{raw::reply(200, "unasked")}, raw::Call{[&] { sent.set_value(); }}},
                      {raw::Send{raw::reply(200, "[]")}}});
    const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
    const std::string url = server.getURL();
    std::string body;
    std::int32_t code = -1;
    allowAllocations(point, GetParam());
    try {
      code = ask(pool.get(), url, body);
    } catch (const std::bad_alloc&) {  // told
    }
    untouched = !allowAllAllocations();
    read.set_value();
    if (code != 0) continue;
    sent.get_future().wait();
    EXPECT_EQ(ask(pool.get(), url, body), 0) << point;
    EXPECT_EQ(body, "[]") << point;
  }
}

TEST_P(MemoryShortage, WhileAReplyIsKeptIsToldAsThat) {
  RawServer server(raw::reply(200, std::string(200'000, ' ') + "{}"));
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  RestCaller caller;
  caller.session.httpPoolCenter = pool.get();
  const std::string url = server.getURL();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(caller.get(url).code, 0);
  bool untouched = false;
  for (std::size_t point = 0; !untouched; ++point) {
    RestResult outcome;
    allowAllocations(point, GetParam());
    try {
      outcome = caller.get(url);
    } catch (const std::bad_alloc&) {  // told
    }
    untouched = !allowAllAllocations();
    EXPECT_EQ(outcome.text.find("compressed"), std::string::npos) << outcome.text;
    EXPECT_EQ(outcome.text.find("larger"), std::string::npos) << outcome.text;
  }
}

TEST(KeptHandle, IsUsedAndSparesAThirdOfTheAllocations) {
  RawServer server(raw::reply(200, "{}"));
  const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  const auto count = [&](const std::string& url) {
    std::string body;
    const std::size_t before = allocationCount() + curlAllocationCount();
    EXPECT_EQ(ask(pool.get(), url, body), 0);
    return allocationCount() + curlAllocationCount() - before;
  };
  const std::string url = server.getURL();
  count(url + "/v1");
  const std::size_t ofANewOne = count(url + "/v1");  // on the connection that there is
  const std::size_t ofAKeptOne = count(url + "/v1");
  EXPECT_LT(3 * ofAKeptOne, 2 * ofANewOne);
  EXPECT_EQ(count(url + "/v1"), ofAKeptOne);
  EXPECT_LT(3 * ofAKeptOne, 2 * count(url + "/v2"));
}

INSTANTIATE_TEST_SUITE_P(Kinds, MemoryShortage, testing::Values(Shortage::Once, Shortage::FromThenOn),
                         [](const auto& row) { return row.param == Shortage::Once ? "once" : "from_then_on"; });

}  // namespace
