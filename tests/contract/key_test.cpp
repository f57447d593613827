// How each service gets the key, which differs: in a header, in the query, or not at all.
#include "fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// The two requests that a listing and a turn with `key` send.
std::vector<standin::Request> requestsWith(QAIAssistantType type, const std::string& key) {
  const standin::Server server;
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(type, nullptr, key, server.address()));
  assistant->obtainAvailableModels();
  assign(*assistant, {{"model", "m"}});
  ask(*assistant, newSession(*assistant).get(), "question");
  return server.requests();
}

class BearerKey : public testing::TestWithParam<TestedService> {};
INSTANTIATE_TEST_SUITE_P(Chat, BearerKey, testing::ValuesIn(servicesWithKey(KeyWay::Bearer)), serviceName);

TEST_P(BearerKey, GoesOutExactlyAsGiven) {
  for (const std::string key : {"sk-1", "  spaced key ", ""}) {
    // What surrounds a field's value is not part of it (RFC 9110, section 5.5), so blanks at the end are gone.
    std::string sent = "Bearer " + key;
    sent.erase(sent.find_last_not_of(' ') + 1);
    const auto requests = requestsWith(GetParam().type, key);
    ASSERT_EQ(requests.size(), 2U);
    for (const standin::Request& request : requests) {
      EXPECT_EQ(request.header("Authorization"), sent);
      EXPECT_THAT(request.query, IsEmpty());
    }
  }
}

class QueryKey : public testing::TestWithParam<TestedService> {};
INSTANTIATE_TEST_SUITE_P(Chat, QueryKey, testing::ValuesIn(servicesWithKey(KeyWay::Query)), serviceName);

TEST_P(QueryKey, GoesOutAsTheQueryPairKeyAndNowhereElse) {
  for (const std::string key : {"AIza-1", "a b&c=d#e/f?g+h%20", "ключ", ""}) {
    const auto requests = requestsWith(GetParam().type, key);
    ASSERT_EQ(requests.size(), 2U);
    for (const standin::Request& request : requests) {
      EXPECT_THAT(request.query, ElementsAre(Pair("key", key)));
      EXPECT_EQ(request.header("Authorization"), "");
    }
  }
}

TEST_P(QueryKey, IsInNoErrorText) {
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(GetParam().type, nullptr, kKey, "http://127.0.0.1:1"));
  assign(*assistant, {{"model", "m"}});
  for (const std::string& error :
       {assistant->obtainAvailableModels().second, ask(*assistant, newSession(*assistant).get(), "question")}) {
    EXPECT_THAT(error, testing::HasSubstr("Could not connect to 127.0.0.1:1"));
    EXPECT_THAT(error, testing::Not(testing::HasSubstr(kKey)));
  }
}

TEST_P(QueryKey, WithAControlCharacterIsNotSent) {
  for (const std::string control : {"\n", "\r", "\t", "\x1f", "\x7f"}) {
    const standin::Server server;
    const Owned<IQAIAssistant> assistant(
        QAICreateAssistant(GetParam().type, nullptr, "AIza" + control + "1", server.address()));
    assign(*assistant, {{"model", "m"}});
    EXPECT_EQ(assistant->obtainAvailableModels().second, "The key holds a control character");
    EXPECT_EQ(ask(*assistant, newSession(*assistant).get(), "question"), "error: The key holds a control character");
    EXPECT_THAT(server.requests(), IsEmpty());
  }
}

TEST(GoogleModel, IsOneSegmentOfThePathWhateverItHolds) {
  const standin::Server server;
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(GOOGLE, nullptr, kKey, server.address()));
  struct Row {
    const char* model;
    const char* segment;
  };
  for (const Row& row :
       {Row{"gemini-2.5-pro", "gemini-2.5-pro"}, Row{"../../x", "..%2F..%2Fx"}, Row{"x?y#z", "x%3Fy%23z"},
        Row{"%2e", "%252e"}, Row{"..", ".."}, Row{"a b", "a%20b"}, Row{"tuned/é", "tuned%2F%C3%A9"}}) {
    assign(*assistant, {{"model", row.model}});
    ask(*assistant, newSession(*assistant).get(), "question");
    EXPECT_EQ(server.requests().back().path, "/v1beta/models/" + std::string(row.segment) + ":generateContent");
  }
}

TEST(GoogleModel, LabelsNameItAsItIs) {
  standin::Server server;
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(GOOGLE, nullptr, kKey, server.address()));
  assign(*assistant, {{"model", "tuned/{model}"}});
  standin::Script reply;
  reply.status = 200;
  reply.body = "{}";
  server.script(reply);
  EXPECT_EQ(ask(*assistant, newSession(*assistant).get(), "question"),
            "error: Unsupported data format: p/v1beta/models/tuned/{model}:generateContent");
}

class NeedlessKey : public testing::TestWithParam<TestedService> {};
INSTANTIATE_TEST_SUITE_P(Chat, NeedlessKey, testing::ValuesIn(servicesWithKey(KeyWay::None)), serviceName);

TEST_P(NeedlessKey, DoesNotGoOut) {
  for (const standin::Request& request : requestsWith(GetParam().type, kKey)) {
    EXPECT_EQ(request.header("Authorization"), "");
    EXPECT_THAT(request.query, IsEmpty());
    for (const auto& [name, value] : request.headers)
      EXPECT_THAT(value, testing::Not(testing::HasSubstr(kKey))) << name;
  }
}

}  // namespace
