// The request helpers, against a fake of what the application provides.
#include "qai_exports.h"
#include "qai_http.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <new>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// What one request looked like, and how it is to end.
struct Exchange {
  std::string method;
  std::string url;
  std::int64_t tag = 0;
  CMRestParams query;
  CMRestParams headers;
  bool hasBody = false;
  std::string body;
  std::string userAgent;
  const CMRestSession* session = nullptr;
  int clientsAlive = 0;
  int clientsMade = 0;

  std::int32_t error = 0;
  std::int32_t status = 200;
  const char* reply = "{}";  // null: no response at all
  bool throws = false;
  std::chrono::milliseconds totalTimeout{};
};

class FakeClient final : public ICSRestClient {
 public:
  explicit FakeClient(Exchange& exchange) : exchange_(exchange) { ++exchange_.clientsAlive; }
  ~FakeClient() override { --exchange_.clientsAlive; }

  std::int32_t executeGet(const CMRestGetRequest& request, CMRestResourceResponse** response) override {
    return execute("GET", request, response);
  }
  std::int32_t executePost(const CMRestPostRequest& request, CMRestResourceResponse** response) override {
    exchange_.hasBody = request.hasBody();
    exchange_.body = request.getBody();
    return execute("POST", request, response);
  }
  std::int32_t executeDelete(const CMRestDeleteRequest& request, CMRestResourceResponse** response) override {
    return execute("DELETE", request, response);
  }
  const std::string& obtainFailureText() const noexcept override { return failure_; }
  std::int32_t executePostStreaming(const CMRestPostRequest& request, ICSRestReceiver& /*receiver*/,
                                    CMRestResourceResponse** response) override {
    return execute("POST", request, response);
  }

 private:
  std::int32_t execute(const char* method, const CMRestRequest& request, CMRestResourceResponse** response) {
    exchange_.method = method;
    exchange_.url = request.getURL();
    exchange_.tag = request.requestTag;
    exchange_.query = request.getQueryParams();
    exchange_.headers = request.getHeaderParams();
    if (exchange_.throws) throw std::bad_alloc();
    EXPECT_EQ(*response, nullptr);
    if (exchange_.reply != nullptr) *response = new CMRestResourceResponse(exchange_.status, exchange_.reply);
    return exchange_.error;
  }

  Exchange& exchange_;
  std::string failure_ = "detail of the failure";
};

class FakeApp final : public ICSAppFactory, public ICSRestClientFactory, public ICSErrorDescriptionService {
 public:
  explicit FakeApp(Exchange& exchange) : exchange_(exchange) {}
  ICSRestClientFactory* obtainRestClientFactory() override { return this; }
  ICSErrorDescriptionService* obtainErrorDescriptionService() override { return this; }

  ICSRestClient* createRestClient(ICSAppFactory* app, const CMRestGlobalSettings& settings,
                                  const CMRestSession* session) override {
    EXPECT_EQ(app, this);
    exchange_.userAgent = settings.userAgent;
    exchange_.totalTimeout = settings.totalTimeout;
    exchange_.session = session;
    ++exchange_.clientsMade;
    return new FakeClient(exchange_);
  }
  void describeError(std::int32_t errorCode, const ICSRestClient* client, CSErrorRecord& record) const override {
    record.title = "title " + std::to_string(errorCode);
    record.message = "message " + std::to_string(errorCode) + ": " + client->obtainFailureText();
  }

 private:
  Exchange& exchange_;
};

struct Http : testing::Test {
  Exchange exchange;
  FakeApp app{exchange};
  CMRestSession session;
};

std::unique_ptr<CMRestResourceResponse> owned(const HTTPResult& result) {
  return std::unique_ptr<CMRestResourceResponse>(result.first);
}

TEST_F(Http, GetCarriesAddressAndParametersInTheirOrder) {
  const HTTPResult result = HTTP::Get(&session, "https://h/p", {{"b", "1"}, {"a", "2"}}, {{"X", "y"}}, &app);
  const auto response = owned(result);
  EXPECT_EQ(result.second, "");
  EXPECT_EQ(exchange.method, "GET");
  EXPECT_EQ(exchange.url, "https://h/p");
  EXPECT_THAT(exchange.query, ElementsAre(Pair("b", "1"), Pair("a", "2")));
  EXPECT_THAT(exchange.headers, ElementsAre(Pair("X", "y")));
  EXPECT_EQ(exchange.session, &session);
}

// 0 or less is no limit.
TEST_F(Http, BriefPostHasTheHostsLimitOnlyWhereThatIsShorter) {
  using std::chrono::milliseconds;
  for (const auto& [hosts, limit] : {std::pair{600'000, 5000}, {0, 5000}, {-1, 5000}, {5000, 5000}, {200, 200}}) {
    httpSettings.totalTimeout = milliseconds(hosts);
    owned(HTTP::PostBriefly(&session, "https://h", milliseconds(5000), &app));
    EXPECT_EQ(exchange.totalTimeout, milliseconds(limit)) << hosts;
  }
  httpSettings = {};
  EXPECT_EQ(exchange.method, "POST");
  EXPECT_FALSE(exchange.hasBody);
}

TEST_F(Http, EmptyListsAddNothing) {
  owned(HTTP::Get(&session, "https://h", {}, {}, &app));
  EXPECT_THAT(exchange.query, IsEmpty());
  EXPECT_THAT(exchange.headers, IsEmpty());
}

TEST_F(Http, PostCarriesItsBodyAsJson) {
  COJson body;
  body.addKeyValue("a")->setNumber(0.7);
  owned(HTTP::Post(&session, "https://h", &body, {{"k", "v"}}, {{"X", "y"}}, &app));
  EXPECT_EQ(exchange.method, "POST");
  EXPECT_TRUE(exchange.hasBody);
  EXPECT_EQ(exchange.body, R"({"a":0.7})");
  EXPECT_THAT(exchange.query, ElementsAre(Pair("k", "v")));
  EXPECT_THAT(exchange.headers, ElementsAre(Pair("X", "y")));
}

TEST_F(Http, PostWithoutBodyAttachesNone) {
  owned(HTTP::Post(&session, "https://h", nullptr, {}, {}, &app));
  EXPECT_FALSE(exchange.hasBody);
}

TEST_F(Http, DeleteCarriesTheAddressAlone) {
  owned(HTTP::Delete(&session, "https://h/x", &app));
  EXPECT_EQ(exchange.method, "DELETE");
  EXPECT_EQ(exchange.url, "https://h/x");
  EXPECT_THAT(exchange.query, IsEmpty());
}

TEST_F(Http, EveryRequestCarriesTheTag) {
  owned(HTTP::Get(&session, "https://h", {}, {}, &app));
  EXPECT_EQ(exchange.tag, 0x7AF634CA);
  owned(HTTP::Post(&session, "https://h", nullptr, {}, {}, &app));
  EXPECT_EQ(exchange.tag, 2062955722);
  exchange.tag = 0;
  owned(HTTP::Delete(&session, "https://h", &app));
  EXPECT_EQ(exchange.tag, 2062955722);
}

TEST_F(Http, SettingsAreReadAfreshForEachRequest) {
  const CMRestGlobalSettings before = httpSettings;
  httpSettings.userAgent = "one";
  owned(HTTP::Get(&session, "https://h", {}, {}, &app));
  EXPECT_EQ(exchange.userAgent, "one");
  httpSettings.userAgent = "two";
  owned(HTTP::Get(&session, "https://h", {}, {}, &app));
  EXPECT_EQ(exchange.userAgent, "two");
  EXPECT_EQ(exchange.clientsMade, 2);
  httpSettings = before;
}

TEST_F(Http, FailureComesWithMessageAndResponse) {
  exchange.error = exchange.status = 429;
  exchange.reply = "slow down";
  const HTTPResult result = HTTP::Get(&session, "https://h", {}, {}, &app);
  const auto response = owned(result);
  EXPECT_EQ(result.second, "message 429: detail of the failure");
  ASSERT_NE(response, nullptr);
  EXPECT_EQ(response->getBufferString(), "slow down");
}

TEST_F(Http, FailureMayComeWithoutAResponse) {
  exchange.error = 10'003;
  exchange.reply = nullptr;
  const HTTPResult result = HTTP::Post(&session, "https://h", nullptr, {}, {}, &app);
  EXPECT_EQ(result.first, nullptr);
  EXPECT_EQ(result.second, "message 10003: detail of the failure");
}

TEST_F(Http, ClientIsDestroyedOnEveryWayOut) {
  owned(HTTP::Get(&session, "https://h", {}, {}, &app));
  EXPECT_EQ(exchange.clientsAlive, 0);
  exchange.error = 500;
  owned(HTTP::Get(&session, "https://h", {}, {}, &app));
  EXPECT_EQ(exchange.clientsAlive, 0);
  exchange.throws = true;
  EXPECT_THROW(HTTP::Get(&session, "https://h", {}, {}, &app), std::bad_alloc);
  EXPECT_EQ(exchange.clientsAlive, 0);
  EXPECT_EQ(exchange.clientsMade, 3);
}

struct ErrorTextCase {
  const char* name;
  const char* body;
  const char* text;     // of the response
  const char* failure;  // what the user is told
};
void PrintTo(const ErrorTextCase& row, std::ostream* out) { *out << row.name; }

class ErrorText : public testing::TestWithParam<ErrorTextCase> {};

TEST_P(ErrorText, IsTheMostUsefulThereIs) {
  const CMRestResourceResponse response(500, GetParam().body);
  EXPECT_EQ(obtainResponseErrorText(&response), GetParam().text);
  EXPECT_EQ(obtainFailureText(&response, "HTTP 500"), GetParam().failure);
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, ErrorText,
    testing::Values(
        ErrorTextCase{"message", R"({"error":{"message":"quota exceeded"}})", "quota exceeded", "quota exceeded"},
        ErrorTextCase{"error_is_a_text", R"({"error":"bad"})", R"({"error":"bad"})", R"({"error":"bad"})"},
        ErrorTextCase{"no_error", R"( {"a":1})", R"( {"a":1})", R"( {"a":1})"},
        ErrorTextCase{"no_message", R"({"error":{"code":1}})", R"({"error":{"code":1}})", R"({"error":{"code":1}})"},
        ErrorTextCase{"message_is_no_text", R"({"error":{"message":1}})", R"({"error":{"message":1}})",
                      R"({"error":{"message":1}})"},
        ErrorTextCase{"empty_message", R"({"error":{"message":""}})", "", "HTTP 500"},
        ErrorTextCase{"html", "<html>", "<html>", "<html>"}, ErrorTextCase{"empty", "", "", "HTTP 500"},
        ErrorTextCase{"array", R"([{"error":{"message":"x"}}])", R"([{"error":{"message":"x"}}])",
                      R"([{"error":{"message":"x"}}])"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FailureText, WithoutAResponseIsTheHTTPLayers) { EXPECT_EQ(obtainFailureText(nullptr, "no route"), "no route"); }

}  // namespace
