// Requests for which the memory runs out: none may crash, leak, or pass off half a reply as a whole one.
#include "memory_shortage.h"
#include "rest_caller.h"

#include <new>

namespace {

class MemoryShortage : public testing::TestWithParam<Shortage> {
 protected:
  void SetUp() override {
    static const bool isExtended = extendMemoryShortageToCurl();
    ASSERT_TRUE(isExtended) << "libcurl does not take its memory from here";
  }
};

// Runs the request with the memory ending after `granted` allocations.
// @return whether it was run to the end without a failed allocation.
bool runWith(Shortage kind, long granted, ICSRestClient& client, const CMRestPostRequest& request,
             const std::string& expected) {
  CMRestResourceResponse* response = nullptr;
  bool thrown = false;
  std::int32_t code = 0;
  beginMemoryShortage(kind, granted);
  try {
    code = client.executePost(request, &response);
  } catch (const std::bad_alloc&) {
    thrown = true;
  }
  const bool untouched = !endMemoryShortage();
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
    long point = 0;
    while (!runWith(GetParam(), point, *client, request, text)) ++point;
    EXPECT_GT(point, 20);
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
  long point = 0;
  do {
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(runWith(Shortage::None, 0, *client, request, "{}"));
      EXPECT_EQ(server.getRequests().back(), server.getRequests().front()) << point;
    }
  } while (!runWith(GetParam(), point++, *client, request, "{}"));
  EXPECT_GT(point, 10);
}

INSTANTIATE_TEST_SUITE_P(Kinds, MemoryShortage, testing::Values(Shortage::Once, Shortage::FromThenOn),
                         [](const auto& row) { return row.param == Shortage::Once ? "once" : "from_then_on"; });

}  // namespace
