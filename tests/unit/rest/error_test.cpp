// Texts for error codes.
#include "rest_caller.h"

namespace {

CSErrorRecord describe(std::int32_t code) {
  CSErrorRecord record{"before", "before"};
  CF::obtainAppFactory()->obtainErrorDescriptionService()->describeError(code, nullptr, record);
  return record;
}

struct CodeCase {
  const char* name;
  std::int32_t code;
  std::string text;
};
class ErrorCode : public testing::TestWithParam<CodeCase> {};

TEST_P(ErrorCode, IsDescribedWithoutAClient) {
  EXPECT_EQ(describe(GetParam().code).title, GetParam().text);
  EXPECT_EQ(describe(GetParam().code).message, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Codes, ErrorCode,
                         testing::Values(CodeCase{"success", 0, ""},
                                         CodeCase{"registered_status", 422, "HTTP 422 Unprocessable Content"},
                                         CodeCase{"unassigned_status", 418, "HTTP 418"},
                                         CodeCase{"highest_status", 999, "HTTP 999"},
                                         CodeCase{"unknown", 1000, "Error 1000"}, CodeCase{"negative", -1, "Error -1"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ErrorDescription, OfATransportFailureIsTheClientsSentence) {
  const RestResult outcome = RestCaller{}.get("no address");
  EXPECT_EQ(outcome.title, "The request can't be sent");
  EXPECT_EQ(outcome.message, "The address must begin with http:// or https://");
}

TEST(AppFactory, IsOneAndGivesItsServicesAgain) {
  ICSAppFactory* app = CF::obtainAppFactory();
  EXPECT_EQ(CF::obtainAppFactory(), app);
  EXPECT_EQ(app->obtainRestClientFactory(), app->obtainRestClientFactory());
  EXPECT_EQ(app->obtainErrorDescriptionService(), app->obtainErrorDescriptionService());
}

TEST(RestClient, ForgetsAFailureWhenTheNextRequestBegins) {
  RawServer server(raw::reply(200, "{}"));
  const CMRestSession session;
  ICSAppFactory* app = CF::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(app->obtainRestClientFactory()->createRestClient(app, {}, &session));
  CMRestGetRequest request;
  CMRestResourceResponse* response = nullptr;
  EXPECT_EQ(client->executeGet(request, &response), toCode(CFRestError::BadRequest));
  EXPECT_NE(client->obtainFailureText(), "");
  request.setURL(server.getURL());
  EXPECT_EQ(client->executeGet(request, &response), 0);
  EXPECT_EQ(client->obtainFailureText(), "");
  delete response;
}

}  // namespace
