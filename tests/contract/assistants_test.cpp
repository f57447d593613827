// The Assistants service's assistant: made and changed at the service by what the host sets.
#include "assistants_fixture.h"
#include "support/assertion_log.h"

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST_F(Assistants, CreatingAndFreeingOneSendsNothing) {
  bareAssistant(CF::createHTTPPoolCenter());
  EXPECT_EQ(standin_.connectionCount(), 0U);
}

TEST_F(Assistants, FirstSettingCreatesOneAtTheServiceAndLaterOnesModifyIt) {
  const auto assistant = assistantWith();
  EXPECT_EQ(assign(*assistant, {{"user_instructions", "u"}}), "");
  EXPECT_EQ(assign(*assistant, {{"user_instructions", "v"}}), "");
  EXPECT_THAT(wire(), ElementsAre("POST /v1/assistants", "POST /v1/assistants/id", "POST /v1/assistants/id"));
  const auto session = newSession(*assistant);
  EXPECT_EQ(standin_.requests()[2].path, "/v1/assistants/" + savedText(*session, "assistant_id"));
}

TEST_F(Assistants, FreeingOneLeavesItAtTheService) {
  {
    const auto assistant = assistantWith();
    const auto session = newSession(*assistant);
  }
  EXPECT_THAT(wire(), ElementsAre("POST /v1/assistants", "POST /v1/threads"));
}

struct BodyRow {
  const char* name;
  Settings settings;
  std::string body;
};
void PrintTo(const BodyRow& row, std::ostream* out) { *out << row.name; }

class AssistantsBody : public Assistants, public testing::WithParamInterface<BodyRow> {};

TEST_P(AssistantsBody, HoldsWhatWasSet) {
  const AssertionLog log;  // the record asserts that a temperature is a number, and takes a text
  const auto assistant = bareAssistant(nullptr);
  answerNext(200, R"({"id":"asst_1"})");  // the service would refuse the model
  EXPECT_EQ(assign(*assistant, GetParam().settings), "");
  EXPECT_EQ(lastBody(), GetParam().body);
  EXPECT_EQ(standin_.requests().back().header("Content-Type"), "application/json");
}

INSTANTIATE_TEST_SUITE_P(
    Settings, AssistantsBody,
    testing::Values(
        BodyRow{"model_alone",
                {{"model", "m"}},
                R"({"model":"m","name":"Orvenda Assistant","description":"","instructions":""})"},
        BodyRow{"everything",
                {{"model", "m"},
                 {"name", "N"},
                 {"description", "D"},
                 {"temperature", "0.7"},
                 {"user_instructions", "U"},
                 {"system_instructions", CMVariantMap{{"a", "S"}}},
                 {"db_structure", R"([{"schemas":[{"tables":[{"name":"t","fields":[]}]}]}])"}},
                R"({"model":"m","name":"N","description":"D","temperature":0.7,)"
                R"("instructions":"U\n\nS\nCREATE TABLE `t` ()\n\n"})"},
        BodyRow{"empty_name",
                {{"model", "m"}, {"name", ""}},
                R"({"model":"m","name":"","description":"","instructions":""})"},
        BodyRow{"temperature_above_two",
                {{"model", "m"}, {"temperature", "3.5"}},
                R"({"model":"m","name":"Orvenda Assistant","description":"","temperature":2.0,"instructions":""})"},
        BodyRow{"temperature_below_zero",
                {{"model", "m"}, {"temperature", "-1"}},
                R"({"model":"m","name":"Orvenda Assistant","description":"","temperature":0.0,"instructions":""})"},
        BodyRow{"temperature_as_a_number_is_refused_yet_assigned",
                {{"model", "m"}, {"temperature", 0.25}},
                R"({"model":"m","name":"Orvenda Assistant","description":"","temperature":1.0,"instructions":""})"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Assistants, ModifyingLeavesAModelThatIsNotSetOutAndResetsNameAndInstructions) {
  const auto assistant = bareAssistant(nullptr);
  assign(*assistant, {{"model", service_.model}, {"name", "N"}, {"user_instructions", "U"}});
  EXPECT_EQ(assign(*assistant, {{"description", "D"}}), "");
  EXPECT_EQ(lastBody(), R"({"name":"Orvenda Assistant","description":"D","instructions":""})");
  EXPECT_EQ(property(*assistant, "model").stringValue(), service_.model);
  EXPECT_EQ(property(*assistant, "name").stringValue(), "Orvenda Assistant");
  EXPECT_EQ(property(*assistant, "description").stringValue(), "D");
}

TEST_F(Assistants, RecordShowsWhatTheFirstDescriptionSet) {
  const AssertionLog log;
  const auto assistant = bareAssistant(nullptr);
  assign(*assistant, {{"model", service_.model},
                      {"temperature", "3.5"},
                      {"name", "N"},
                      {"description", "D"},
                      {"user_instructions", "U"},
                      {"db_structure", "[]"},
                      {"system_instructions", CMVariantMap{{"a", "1"}}}});
  EXPECT_EQ(property(*assistant, "model").stringValue(), service_.model);
  EXPECT_EQ(property(*assistant, "temperature").doubleValue(), 2.0);
  EXPECT_EQ(property(*assistant, "name").stringValue(), "N");
  EXPECT_EQ(property(*assistant, "description").stringValue(), "D");
  EXPECT_EQ(property(*assistant, "combined_instructions").stringValue(), "U\n\n1\n");
  EXPECT_EQ(property(*assistant, "api_host").stringValue(), standin_.address());
}

TEST_F(Assistants, SecondDescriptionWithoutAKeyTellsTheServiceTheFreshValueAndLeavesTheOldOneInTheRecord) {
  const auto assistant = assistantWith();
  assign(*assistant, {{"user_instructions", "U"},
                      {"system_instructions", CMVariantMap{{"a", "S"}}},
                      {"db_structure", R"([{"schemas":[{"tables":[{"name":"t","fields":[]}]}]}])"}});
  EXPECT_EQ(assign(*assistant, {{"name", "N"}}), "");
  EXPECT_EQ(lastBody(), R"({"name":"N","description":"","instructions":""})");
  EXPECT_EQ(property(*assistant, "combined_instructions").stringValue(), "U\n\nS\nCREATE TABLE `t` ()\n\n");
}

TEST_F(Assistants, SystemInstructionsAreAddedToTheRecords) {
  const auto assistant = assistantWith();
  assign(*assistant, {{"system_instructions", CMVariantMap{{"a", "1"}, {"b", "2"}}}});
  assign(*assistant, {{"system_instructions", CMVariantMap{{"b", "3"}}}});
  EXPECT_EQ(property(*assistant, "combined_instructions").stringValue(), "1\n3\n");
  EXPECT_THAT(lastBody(), HasSubstr(R"("instructions":"3\n"})"));
}

TEST_F(Assistants, PropertiesAreItsOwnAndTheSameOnEveryCall) {
  const auto assistant = assistantWith();
  IQAIProperties* properties = assistant->obtainAssistantProperties();
  assign(*assistant, {{"user_instructions", "U"}});
  EXPECT_EQ(assistant->obtainAssistantProperties(), properties);
  EXPECT_EQ(properties->obtainProperty("user_instructions").stringValue(), "U");
}

TEST_F(Assistants, EmptyFillIsRefusedAndNothingIsSent) {
  const auto assistant = assistantWith();
  QAIRegisterCallback(translateToX);
  EXPECT_EQ(assistant->setAssistantProperties({}), "Properties not set");
  EXPECT_EQ(requestCount(), 1U);
  EXPECT_EQ(property(*assistant, "model").stringValue(), service_.model);
}

TEST_F(Assistants, WithoutAModelNoneIsCreatedAndNothingIsSent) {
  const auto assistant = bareAssistant(nullptr);
  EXPECT_EQ(assign(*assistant, {{"user_instructions", "U"}}), "Model is empty");
  EXPECT_EQ(assign(*assistant, {{"model", ""}}), "Model is empty");
  QAIRegisterCallback(translateToX);
  EXPECT_EQ(assign(*assistant, {}), "X");
  EXPECT_EQ(standin_.connectionCount(), 0U);
  EXPECT_EQ(property(*assistant, "user_instructions").stringValue(), "");
}

TEST_F(Assistants, FillThatThrowsChangesAndSendsNothing) {
  const auto assistant = bareAssistant(nullptr);
  EXPECT_THROW(assistant->setAssistantProperties([](IQAIProperties* fresh) {
    fresh->setProperty("model", "half");
    fresh->setProperty("api_host", "http://half");
    throw std::runtime_error("host");
  }),
               std::runtime_error);
  EXPECT_EQ(property(*assistant, "model").stringValue(), "");
  EXPECT_EQ(property(*assistant, "api_host").stringValue(), standin_.address());
  EXPECT_EQ(standin_.connectionCount(), 0U);
}

TEST_F(Assistants, EachFillStartsFromAFreshRecordWithTheHostInForce) {
  const auto assistant = assistantWith();
  assign(*assistant, {{"name", "N"}});
  assistant->setAssistantProperties([&](IQAIProperties* fresh) {
    EXPECT_EQ(fresh->obtainProperty("api_host").stringValue(), standin_.address());
    EXPECT_EQ(fresh->obtainProperty("model").stringValue(), "");
    EXPECT_EQ(fresh->obtainProperty("name").stringValue(), "Orvenda Assistant");
  });
}

TEST_F(Assistants, NewHostIsUsedAtOnceAndStaysWhenTheServiceRefuses) {
  const standin::Server other({.apiKey = "another key"});
  const auto assistant = assistantWith();
  const std::string error = assign(*assistant, {{"api_host", other.address()}, {"user_instructions", "U"}});
  EXPECT_THAT(error, HasSubstr("Incorrect API key provided"));
  EXPECT_EQ(other.requests().size(), 1U);
  EXPECT_EQ(property(*assistant, "api_host").stringValue(), other.address());
  EXPECT_EQ(property(*assistant, "user_instructions").stringValue(), "");
}

TEST_F(Assistants, BlankHostIsTheServicesOwn) {
  for (const char* blank : {"", "  ", "https://"}) {
    const auto assistant = bareAssistant(nullptr);
    EXPECT_EQ(assign(*assistant, {{"api_host", blank}}), "Model is empty");  // which keeps it from being asked
    EXPECT_EQ(property(*assistant, "api_host").stringValue(), service_.defaultHost) << '"' << blank << '"';
  }
}

TEST_F(Assistants, FailedSettingsLeaveEverythingAsItWas) {
  const auto assistant = bareAssistant(nullptr);
  answerNext(500, "");
  EXPECT_NE(assign(*assistant, {{"model", "m"}, {"name", "N"}}), "");
  EXPECT_EQ(property(*assistant, "model").stringValue(), "");
  EXPECT_EQ(property(*assistant, "name").stringValue(), "Orvenda Assistant");
  EXPECT_EQ(assistant->createSession().second, "Assistant not initialized, set assistant properties");

  EXPECT_EQ(assign(*assistant, {{"model", service_.model}}), "");
  answerNext(500, "");
  EXPECT_NE(assign(*assistant, {{"model", "m"}, {"name", "N"}}), "");
  EXPECT_EQ(property(*assistant, "model").stringValue(), service_.model);
  EXPECT_EQ(property(*assistant, "name").stringValue(), "Orvenda Assistant");
  EXPECT_THAT(wire(), ElementsAre("POST /v1/assistants", "POST /v1/assistants", "POST /v1/assistants/id"));
}

TEST_F(Assistants, ModifyingThatIsAnsweredForAnotherOneIsAssertedAndSucceeds) {
  const auto assistant = assistantWith();
  answerNext(200, R"({"id":"asst_of_somebody_else"})");
  const AssertionLog log;
  EXPECT_EQ(assign(*assistant, {{"user_instructions", "U"}}), "");
  EXPECT_THAT(log.all(), ElementsAre("qai_assistant_openai: this->m_assistantID == j_id->obtainString()"));
  EXPECT_EQ(property(*assistant, "user_instructions").stringValue(), "U");
}

TEST_F(Assistants, ModelsComeNewestFirstAndTheServicesOrderDecidesBetweenEquals) {
  const auto assistant = bareAssistant(nullptr);
  answerNext(200, R"({"object":"list","data":[{"id":"old","object":"model","created":1},)"
                  R"({"id":"same b","object":"model","created":5},{"id":"same a","object":"model","created":5},)"
                  R"({"id":"no model","object":"file","created":9},{"id":"no time","object":"model"},)"
                  R"({"id":7,"object":"model","created":9},{"id":"new","object":"model","created":8},null]})");
  const auto [models, error] = assistant->obtainAvailableModels();
  EXPECT_EQ(error, "");
  EXPECT_THAT(models, ElementsAre("new", "same b", "same a", "old"));
}

TEST_F(Assistants, ModelsOfTheStandIn) {
  const auto [models, error] = bareAssistant(nullptr)->obtainAvailableModels();
  EXPECT_EQ(error, "");
  EXPECT_THAT(models, ElementsAre("standin-large", "standin-reasoner", "standin-small"));
  EXPECT_THAT(wire(), ElementsAre("GET /v1/models"));
}

TEST_F(Assistants, EveryRequestCarriesTheKeyAndTheVersion) {
  const auto assistant = assistantWith();
  assistant->obtainAvailableModels();
  const auto session = newSession(*assistant);
  ask(*assistant, session.get(), "question");
  EXPECT_EQ(assistant->destroySession(session.get()), "");
  ASSERT_EQ(requestCount(), 9U);
  for (const standin::Request& request : standin_.requests()) {
    EXPECT_EQ(request.header("Authorization"), "Bearer " + kKey) << request.path;
    EXPECT_EQ(request.header("OpenAI-Beta"), "assistants=v2") << request.path;
  }
}

TEST(AssistantsKey, GoesOutExactlyAsGiven) {
  const standin::Server server;
  for (const std::string key : {"  spaced key", ""}) {
    const Owned<IQAIAssistant> assistant(QAICreateAssistant(OPENAI, nullptr, key, server.address()));
    assistant->obtainAvailableModels();
    // What surrounds a field's value is not part of it (RFC 9110, section 5.5).
    EXPECT_EQ(server.requests().back().header("Authorization"), key.empty() ? "Bearer" : "Bearer " + key);
  }
}

}  // namespace
