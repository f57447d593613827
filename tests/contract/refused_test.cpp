// Values that the record refuses while a host fills it: the key counts as assigned all the same, so what the fresh
// record has under it is adopted.
#include "assistants_fixture.h"
#include "support/assertion_log.h"

#include <cf/json_shortcuts.h>

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kStructure =
    R"([{"schemas":[{"tables":[{"name":"glacier","fields":[{"name":"id","type":"INT"}]}]}]}])";

struct RefusedRow {
  const char* name;
  const char* key;
  CMVariant value;
  bool taken;           // what setProperty says
  const char* adopted;  // as JSON; null: what was there before, "host": the service's public host
};

const std::vector<RefusedRow>& refusedRows() {
  static const std::vector<RefusedRow> kRows{
      {"api_host_as_a_number", "api_host", 1.0, false, "host"},
      {"model_as_a_number", "model", 1.0, false, R"("")"},
      {"temperature_as_a_number", "temperature", 0.5, false, "1.0"},
      {"user_instructions_as_a_list", "user_instructions", CMVariantList{}, false, R"("")"},
      {"system_instructions_as_a_text", "system_instructions", "be brief", false, "{}"},
      {"db_structure_that_is_no_json", "db_structure", "{", false, "[]"},
      {"db_structure_that_is_empty", "db_structure", "", false, "[]"},
      {"db_structure_as_a_number", "db_structure", 1.0, true, "[]"},
      {"combined_instructions", "combined_instructions", "I", false, nullptr},
      {"unknown_key", "colour", "blue", false, nullptr},
  };
  return kRows;
}

/// Every setting.
Settings everything(const TestedService& service, const std::string& host) {
  return {{"api_host", host},
          {"model", service.model},
          {"temperature", "0.7"},
          {"user_instructions", "U"},
          {"system_instructions", CMVariantMap{{"a", "S"}}},
          {"db_structure", kStructure}};
}

std::string json(const CMVariant& value) { return cfWriteJson(value); }

/// The settings as JSON, by key; without what follows from the others.
std::map<std::string, std::string> settingsOf(IQAIAssistant& assistant) {
  std::map<std::string, std::string> settings;
  for (const char* key :
       {"api_host", "model", "temperature", "user_instructions", "system_instructions", "db_structure"})
    settings[key] = json(property(assistant, key));
  return settings;
}

class RefusedValue : public EachService {
 protected:
  const AssertionLog log_;  // the record asserts what it refuses
};
INSTANTIATE_TEST_SUITE_P(Chat, RefusedValue, testing::ValuesIn(chatServices()), serviceName);

TEST_P(RefusedValue, LeavesTheFreshRecordsValueInPlaceOfTheOldOne) {
  for (const RefusedRow& row : refusedRows()) {
    SCOPED_TRACE(row.name);
    const auto assistant = bareAssistant(nullptr);
    assign(*assistant, everything(service_, standin_.address()));
    auto expected = settingsOf(*assistant);
    bool taken = !row.taken;
    const std::string error = assistant->setAssistantProperties(
        [&](IQAIProperties* properties) { taken = properties->setProperty(row.key, row.value); });
    EXPECT_EQ(error, "");
    EXPECT_EQ(taken, row.taken);
    if (row.adopted != nullptr) {
      expected[row.key] = row.adopted == std::string("host") ? json(service_.defaultHost) : row.adopted;
    }
    EXPECT_EQ(settingsOf(*assistant), expected);
  }
}

TEST_P(RefusedValue, OfTheStructureTakesTheOldOneOutOfTheNextTurn) {
  const auto assistant = assistantWith();
  assign(*assistant, {{"db_structure", kStructure}});
  const auto session = newSession(*assistant);
  ask(*assistant, session.get(), "question");
  constexpr const char* kTable = "CREATE TABLE `";  // its name alone may come back with what was answered
  EXPECT_THAT(lastBody(), HasSubstr(kTable));
  EXPECT_EQ(assign(*assistant, {{"db_structure", "{"}}), "");
  ask(*assistant, session.get(), "question");
  EXPECT_THAT(lastBody(), Not(HasSubstr(kTable)));
}

/// What the Assistants service is told, and what the record shows afterwards, when one value is refused.
struct DescriptionRow {
  const char* name;
  const char* key;
  CMVariant value;
  const char* body;
  const char* shown;  // as JSON, under the key
};
void PrintTo(const DescriptionRow& row, std::ostream* out) { *out << row.name; }

class RefusedValueOfADescription : public Assistants, public testing::WithParamInterface<DescriptionRow> {};

TEST_P(RefusedValueOfADescription, TellsTheServiceTheFreshRecordsValue) {
  const AssertionLog log;
  const auto assistant = bareAssistant(nullptr);
  assign(*assistant, everything(service_, standin_.address()));
  auto expected = settingsOf(*assistant);
  expected[GetParam().key] = GetParam().shown == std::string("host") ? json(standin_.address()) : GetParam().shown;
  answerNext(200, R"({"id":"asst_1"})");  // the service would refuse the model
  EXPECT_EQ(assign(*assistant, {{GetParam().key, GetParam().value}}), "");
  EXPECT_EQ(lastBody(), GetParam().body);
  EXPECT_EQ(settingsOf(*assistant), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, RefusedValueOfADescription,
    testing::Values(
        DescriptionRow{"api_host_stays", "api_host", 1.0,
                       R"({"name":"Orvenda Assistant","description":"","instructions":""})", "host"},
        DescriptionRow{"model", "model", 1.0,
                       R"({"model":"","name":"Orvenda Assistant","description":"","instructions":""})", R"("")"},
        DescriptionRow{"temperature", "temperature", 0.5,
                       R"({"name":"Orvenda Assistant","description":"","temperature":1.0,"instructions":""})", "1.0"},
        DescriptionRow{"user_instructions", "user_instructions", 1.0,
                       R"({"name":"Orvenda Assistant","description":"","instructions":""})", R"("")"},
        DescriptionRow{"system_instructions_stay_in_the_record", "system_instructions", "be brief",
                       R"({"name":"Orvenda Assistant","description":"","instructions":""})", R"({"a":"S"})"},
        DescriptionRow{"db_structure", "db_structure", "{",
                       R"({"name":"Orvenda Assistant","description":"","instructions":""})", "[]"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
