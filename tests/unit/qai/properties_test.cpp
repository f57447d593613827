// The settings record: keys, types, refusals, the API host, the combined instructions.
#include "qai_assistant_properties.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Type = CMVariant::ValueType;

const char* const kFile = "qai_assistant_properties: ";

struct HostCase {
  const char* name;
  std::string given;
  std::string fallback;
  std::string stored;
};
void PrintTo(const HostCase& row, std::ostream* out) { *out << row.name; }

class ApiHost : public testing::TestWithParam<HostCase> {};

TEST_P(ApiHost, IsNormalised) {
  QAIAssistantProperties record;
  record.setApiHost(GetParam().given, GetParam().fallback);
  EXPECT_EQ(record.apiHost, GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ApiHost,
    testing::Values(HostCase{"bare_name", "myhost:8080", "d", "https://myhost:8080"},
                    HostCase{"plain_http_stays", "http://host", "d", "http://host"},
                    HostCase{"https_stays", "https://host/", "d", "https://host/"},
                    HostCase{"scheme_is_case_sensitive", "HTTP://host", "d", "https://HTTP://host"},
                    HostCase{"blanks_are_trimmed", " \t host \n", "d", "https://host"},
                    HostCase{"empty_takes_the_fallback", "", "d.example", "https://d.example"},
                    HostCase{"blank_takes_the_fallback", " \r\n", "d.example", "https://d.example"},
                    HostCase{"fallback_is_not_trimmed", "", " d ", "https:// d "},
                    HostCase{"fallback_with_scheme_stays", "", "http://d", "http://d"},
                    HostCase{"scheme_must_come_first", "see http://host", "d", "https://see http://host"},
                    HostCase{"other_schemes_are_not_known", "ftp://host", "d", "https://ftp://host"},
                    HostCase{"trailing_slashes_stay", "host//", "d", "https://host//"},
                    HostCase{"nothing_at_all", "", "", "https://"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Properties, ListsSevenKeysInOrderWithTheirTypes) {
  EXPECT_THAT(
      QAIAssistantProperties().obtainPropertyList(),
      ElementsAre(Pair("api_host", "string"), Pair("model", "string"), Pair("temperature", "double"),
                  Pair("user_instructions", "string"), Pair("system_instructions", "CMVariantMap(string, string)"),
                  Pair("db_structure",
                       "CMVariant - [{\"catalog_id\":\"optional\",\"catalog_name\":\"optional\","
                       "\"schemas\":[{\"schema_id\":\"optional\",\"schema_name\":\"optional\","
                       "\"tables\":[{\"name\":\"\",\"fields\":[{\"name\":\"\",\"type\":\"\"}],"
                       "\"pkeys\":[\"optional\"],\"fkeys\":[{\"fields\":[\"\"],"
                       "\"ref_schema\":\"optional\",\"ref_table\":\"\",\"ref_fields\":[\"\"]}]}],"
                       "\"views\":[null],\"mviews\":[null]}]}]"),
                  Pair("combined_instructions", "string - read only")));
}

TEST(Properties, TemplateIsWrittenAsTheJsonWriterWouldWriteIt) {
  const std::string description = QAIAssistantProperties().obtainPropertyList()[5].second;
  const std::string text = description.substr(std::string("CMVariant - ").size());
  const COJson json(text);
  ASSERT_TRUE(json.getIsValidJson());
  EXPECT_EQ(json.obtainJsonString(), text);
}

TEST(Properties, StartEmptyWithTemperatureOne) {
  const QAIAssistantProperties record;
  EXPECT_EQ(record.obtainProperty("api_host").stringValue(), "");
  EXPECT_EQ(record.obtainProperty("model").stringValue(), "");
  EXPECT_EQ(record.obtainProperty("temperature").getValueType(), Type::Double);
  EXPECT_EQ(record.obtainProperty("temperature").doubleValue(), 1.0);
  EXPECT_EQ(record.obtainProperty("user_instructions").getValueType(), Type::String);
  EXPECT_EQ(record.obtainProperty("system_instructions").getValueType(), Type::Map);
  EXPECT_EQ(record.obtainProperty("db_structure").getValueType(), Type::List);
  EXPECT_EQ(record.obtainProperty("combined_instructions").getValueType(), Type::String);
  EXPECT_EQ(record.obtainProperty("combined_instructions").stringValue(), "");
  EXPECT_THAT(record.assignedKeys, IsEmpty());
}

TEST(Properties, UnknownKeyReadsAsNull) {
  const QAIAssistantProperties record;
  for (const char* key : {"nonsense", "", "Model", "model ", "apiHost"}) {
    EXPECT_TRUE(record.obtainProperty(key).isNull()) << key;
  }
}

TEST(Properties, TextsAreStoredAsTheyStand) {
  QAIAssistantProperties record;
  EXPECT_TRUE(record.setProperty("model", " gpt \n"));
  EXPECT_TRUE(record.setProperty("user_instructions", "Ответь"));
  EXPECT_EQ(record.obtainProperty("model").stringValue(), " gpt \n");
  EXPECT_EQ(record.obtainProperty("user_instructions").stringValue(), "Ответь");
}

TEST(Properties, ApiHostIsTrimmedAndGetsAScheme) {
  QAIAssistantProperties record;
  EXPECT_TRUE(record.setProperty("api_host", "  myhost  "));
  EXPECT_EQ(record.apiHost, "https://myhost");
}

TEST(Properties, BlankApiHostIsStoredAsTheSchemeAlone) {
  for (const char* blank : {"", "  \t"}) {
    QAIAssistantProperties record;
    record.apiHost = "https://before";
    EXPECT_TRUE(record.setProperty("api_host", blank));
    EXPECT_EQ(record.apiHost, "https://");
    EXPECT_TRUE(record.isApiHostBlank());
  }
}

struct RefusalCase {
  const char* key;
  CMVariant value;
  const char* assertion;
};
void PrintTo(const RefusalCase& row, std::ostream* out) { *out << row.key; }

class WrongType : public testing::TestWithParam<RefusalCase> {};

TEST_P(WrongType, IsAssertedRefusedAndStoresNothing) {
  QAIAssistantProperties record;
  record.systemInstructions["kept"] = "x";
  const QAIAssistantProperties before = record;
  const AssertionLog log;
  EXPECT_FALSE(record.setProperty(GetParam().key, GetParam().value));
  EXPECT_THAT(log.all(), ElementsAre(kFile + std::string(GetParam().assertion)));
  EXPECT_EQ(record.apiHost, before.apiHost);
  EXPECT_EQ(record.model, before.model);
  EXPECT_EQ(record.temperature, before.temperature);
  EXPECT_EQ(record.userInstructions, before.userInstructions);
  EXPECT_EQ(record.systemInstructions.size(), 1U);
  EXPECT_EQ(record.dbStructureJson.json(), before.dbStructureJson.json());
  EXPECT_THAT(record.assignedKeys, ElementsAre(GetParam().key));
}

const char* const kNotString = "value.getValueType() == CMVariant::ValueType::String";
INSTANTIATE_TEST_SUITE_P(
    Keys, WrongType,
    testing::Values(RefusalCase{"api_host", 1.0, kNotString}, RefusalCase{"model", CMVariantList{}, kNotString},
                    RefusalCase{"user_instructions", CMVariant(), kNotString},
                    RefusalCase{"temperature", CMVariantMap{}, "value.getValueType() == CMVariant::ValueType::Double"},
                    RefusalCase{"system_instructions", "x", "value.getValueType() == CMVariant::ValueType::Map"},
                    RefusalCase{"db_structure", "{", "json.getIsValidJson()"},
                    RefusalCase{"combined_instructions", "x", "false"}),
    [](const auto& row) { return std::string(row.param.key); });

TEST(Properties, TemperatureAsANumberIsRefusedWithoutAnAssertion) {
  QAIAssistantProperties record;
  const AssertionLog log;
  EXPECT_FALSE(record.setProperty("temperature", 0.5));
  EXPECT_EQ(record.temperature, 1.0);
  EXPECT_THAT(log.all(), IsEmpty());
  EXPECT_TRUE(record.assignedKeys.contains("temperature"));
}

TEST(Properties, TemperatureAsATextIsAssertedAndStored) {
  QAIAssistantProperties record;
  const AssertionLog log;
  EXPECT_TRUE(record.setProperty("temperature", " 0.25 "));
  EXPECT_EQ(record.temperature, 0.25);
  EXPECT_THAT(log.all(), ElementsAre(kFile + std::string("value.getValueType() == CMVariant::ValueType::Double")));
}

TEST(Properties, SystemInstructionsAreMergedAndAnEmptyTextRemoves) {
  QAIAssistantProperties record;
  EXPECT_TRUE(record.setProperty("system_instructions", CMVariantMap{{"a", "x"}}));
  EXPECT_TRUE(record.setProperty("system_instructions", CMVariantMap{{"b", "y"}}));
  EXPECT_EQ(record.obtainProperty("system_instructions").mapValue().size(), 2U);
  EXPECT_TRUE(record.setProperty("system_instructions", CMVariantMap{{"a", ""}, {"never there", ""}}));
  ASSERT_EQ(record.systemInstructions.size(), 1U);
  EXPECT_EQ(record.systemInstructions.at("b").stringValue(), "y");
}

TEST(Properties, SystemInstructionThatIsNoTextIsAssertedAndSkipped) {
  QAIAssistantProperties record;
  const AssertionLog log;
  EXPECT_TRUE(record.setProperty("system_instructions", CMVariantMap{{"a", 1.0}, {"b", "y"}}));
  ASSERT_EQ(record.systemInstructions.size(), 1U);
  EXPECT_EQ(record.systemInstructions.begin()->first, "b");
  EXPECT_THAT(log.all(), ElementsAre(kFile + std::string("kv.second.getValueType() == CMVariant::ValueType::String")));
}

TEST(Properties, DatabaseStructureAsTextIsKeptToTheByte) {
  QAIAssistantProperties record;
  const std::string text = " [ { } ]\n";
  EXPECT_TRUE(record.setProperty("db_structure", text));
  EXPECT_EQ(record.dbStructureJson.json(), text);
}

TEST(Properties, DatabaseStructureAsAListIsStoredAsJson) {
  QAIAssistantProperties record;
  EXPECT_TRUE(record.setProperty("db_structure", CMVariantList{CMVariantMap{{"catalog_name", "c"}}}));
  EXPECT_EQ(record.dbStructureJson.json(), R"([{"catalog_name":"c"}])");
}

TEST(Properties, EmptyDatabaseStructureIsRefusedAndTheOldOneStays) {
  QAIAssistantProperties record;
  record.setProperty("db_structure", "[]");
  const AssertionLog log;
  EXPECT_FALSE(record.setProperty("db_structure", ""));
  EXPECT_EQ(record.dbStructureJson.json(), "[]");
  EXPECT_THAT(log.all(), IsEmpty());
}

TEST(Properties, DatabaseStructureOfAnotherTypeIsTakenButStoresNothing) {
  for (const CMVariant& value : {CMVariant(1.0), CMVariant(CMVariantMap{}), CMVariant()}) {
    QAIAssistantProperties record;
    record.setProperty("db_structure", "[]");
    const AssertionLog log;
    EXPECT_TRUE(record.setProperty("db_structure", value));
    EXPECT_EQ(record.dbStructureJson.json(), "[]");
    EXPECT_THAT(log.all(), IsEmpty());
  }
}

TEST(Properties, UnknownKeyIsRefusedButCountsAsAssigned) {
  QAIAssistantProperties record;
  const AssertionLog log;
  EXPECT_FALSE(record.setProperty("nonsense", "x"));
  EXPECT_THAT(record.assignedKeys, ElementsAre("nonsense"));
  EXPECT_THAT(log.all(), IsEmpty());
}

TEST(Properties, CopyHasEveryFieldAndTheAssignedKeys) {
  QAIAssistantProperties record;
  record.setProperty("api_host", "h");
  record.setProperty("model", "m");
  record.setProperty("user_instructions", "u");
  record.setProperty("system_instructions", CMVariantMap{{"a", "x"}});
  record.setProperty("db_structure", "[]");
  record.temperature = 0.5;
  const QAIAssistantProperties copy(record);
  EXPECT_EQ(copy.assignedKeys, record.assignedKeys);
  EXPECT_EQ(copy.apiHost, "https://h");
  EXPECT_EQ(copy.model, "m");
  EXPECT_EQ(copy.temperature, 0.5);
  EXPECT_EQ(copy.userInstructions, "u");
  EXPECT_EQ(copy.systemInstructions.at("a").stringValue(), "x");
  EXPECT_EQ(copy.dbStructureJson.json(), "[]");
}

struct InstructionsCase {
  const char* name;
  const char* user;
  CMVariantMap system;
  const char* structure;
  const char* combined;
};
void PrintTo(const InstructionsCase& row, std::ostream* out) { *out << row.name; }

class CombinedInstructions : public testing::TestWithParam<InstructionsCase> {};

TEST_P(CombinedInstructions, JoinTheParts) {
  QAIAssistantProperties record;
  record.userInstructions = GetParam().user;
  record.systemInstructions = GetParam().system;
  record.dbStructureJson = GetParam().structure;
  EXPECT_EQ(record.obtainCombinedInstructions(), GetParam().combined);
  EXPECT_EQ(record.obtainProperty("combined_instructions").stringValue(), GetParam().combined);
}

const char* const kOneTable = R"([{"schemas":[{"tables":[{"name":"t","fields":[]}]}]}])";
INSTANTIATE_TEST_SUITE_P(
    Parts, CombinedInstructions,
    testing::Values(InstructionsCase{"nothing", "", {}, "", ""}, InstructionsCase{"user", "U", {}, "", "U\n\n"},
                    InstructionsCase{
                        "system_in_order_of_names", "", {{"b", "2"}, {"a", "1"}, {"B", "0"}}, "", "0\n1\n2\n"},
                    InstructionsCase{"structure", "", {}, kOneTable, "CREATE TABLE `t` ()\n\n"},
                    InstructionsCase{"all", "U", {{"a", "1"}}, kOneTable, "U\n\n1\nCREATE TABLE `t` ()\n\n"},
                    InstructionsCase{"line_ends_stay_single", "a\r\nb", {}, "", "a\r\nb\n\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ApplyAssigned, CarriesOnlyWhatWasAssigned) {
  QAIAssistantProperties from;
  from.model = "not assigned";
  from.setProperty("user_instructions", "u");
  from.setProperty("api_host", "h");
  from.setProperty("system_instructions", CMVariantMap{{"a", "x"}});
  QAIAssistantProperties to;
  to.systemInstructions["kept"] = "y";
  from.applyAssignedProperties(&to);
  EXPECT_EQ(to.model, "");
  EXPECT_EQ(to.userInstructions, "u");
  EXPECT_EQ(to.apiHost, "https://h");
  EXPECT_EQ(to.systemInstructions.size(), 2U);
  EXPECT_THAT(to.assignedKeys, ElementsAre("api_host", "system_instructions", "user_instructions"));
}

TEST(ApplyAssigned, CopiesTheStoredDatabaseText) {
  QAIAssistantProperties from;
  from.setProperty("db_structure", " [] ");
  QAIAssistantProperties to;
  from.applyAssignedProperties(&to);
  EXPECT_EQ(to.dbStructureJson.json(), " [] ");
  EXPECT_TRUE(to.assignedKeys.contains("db_structure"));
}

TEST(ApplyAssigned, TemperatureIsRefusedOnTheOtherSideYetCountsAsAssigned) {
  QAIAssistantProperties from;
  const AssertionLog log;
  from.setProperty("temperature", "0.5");
  QAIAssistantProperties to;
  from.applyAssignedProperties(&to);
  EXPECT_EQ(to.temperature, 1.0);
  EXPECT_TRUE(to.assignedKeys.contains("temperature"));
}

TEST(ApplyAssigned, ToARecordOfAnotherMakeIsAProgrammingErrorAndChangesNothing) {
  class Foreign final : public IQAIProperties {
   public:
    std::vector<std::pair<std::string, std::string>> obtainPropertyList() const override { return {}; }
    CMVariant obtainProperty(const std::string& /*key*/) const override { return {}; }
    bool setProperty(const std::string& /*key*/, const CMVariant& /*value*/) override { return isSet = true; }
    bool isSet = false;
  };
  QAIAssistantProperties from;
  from.setProperty("user_instructions", "u");
  Foreign to;
  const AssertionLog log;
  from.applyAssignedProperties(&to);
  EXPECT_EQ(log.all().size(), 1U);
  EXPECT_FALSE(to.isSet);
}

TEST(ApplyAssigned, LeavesTheReadOnlyKeyOut) {
  QAIAssistantProperties from;
  const AssertionLog log;
  from.setProperty("combined_instructions", "x");
  QAIAssistantProperties to;
  from.applyAssignedProperties(&to);
  EXPECT_THAT(to.assignedKeys, IsEmpty());
  EXPECT_EQ(log.all().size(), 1U);  // the one of setting it in the first place
}

}  // namespace
