// What is kept beside a database description: nothing of it may show but in the time that a turn takes.
#include "qai_assistant_properties.h"
#include "support/assertion_log.h"

#include <cf/json_shortcuts.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace {

std::string describe(const std::string& table) {
  return R"([{"schemas":[{"tables":[{"name":")" + table + R"(","fields":[]}]}]}])";
}

std::string join(const InstructionsJson& json) {
  std::string joined;
  for (const std::string_view piece : json.pieces()) joined += piece;
  return joined;
}

struct InstructionsCase {
  const char* name;
  const char* user;
  CMVariantMap system;
  std::string structure;
};
void PrintTo(const InstructionsCase& row, std::ostream* out) { *out << row.name; }

class Instructions : public testing::TestWithParam<InstructionsCase> {};

TEST_P(Instructions, AreTheSameInPiecesAsInOneText) {
  QAIAssistantProperties record;
  record.userInstructions = GetParam().user;
  record.systemInstructions = GetParam().system;
  record.dbStructureJson = GetParam().structure;
  const AssertionLog log;
  const std::string combined = record.obtainCombinedInstructions();
  std::string expected;
  cfAppendJsonString(expected, combined);
  const InstructionsJson json = record.obtainInstructionsJson();
  EXPECT_EQ(join(json), expected);
  EXPECT_EQ(json.isEmpty, combined.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Parts, Instructions,
    testing::Values(InstructionsCase{"nothing", "", {}, ""}, InstructionsCase{"user", "U \"quoted\"\n", {}, ""},
                    InstructionsCase{"system", "", {{"b", "2"}, {"a", "1\t"}}, ""},
                    InstructionsCase{"structure", "", {}, describe("t")},
                    InstructionsCase{"structure_without_a_statement", "U", {}, "[]"},
                    InstructionsCase{"structure_of_an_empty_line", "", {}, R"([{"schemas":[{"views":[{}]}]}])"},
                    InstructionsCase{"all", "U", {{"a", "1"}}, describe("\\\"\\u0001 \\\\ Ü")},
                    InstructionsCase{"user_that_ends_within_a_character", "U\xC3", {}, describe("t")},
                    InstructionsCase{"system_that_is_ill_formed", "", {{"a", "\xBC\xC3"}}, describe("t")}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Description, IsMadeIntoATextOnceAndNotAgainForACopy) {
  QAIAssistantProperties record;
  record.setProperty("db_structure", describe("t"));
  const char* const first = record.obtainInstructionsJson().structure.data();
  EXPECT_EQ(record.obtainInstructionsJson().structure.data(), first);
  const QAIAssistantProperties copy(record);
  EXPECT_EQ(copy.obtainInstructionsJson().structure.data(), first);
}

struct ChangeCase {
  const char* name;
  std::function<void(QAIAssistantProperties&)> change;
};
void PrintTo(const ChangeCase& row, std::ostream* out) { *out << row.name; }

class ChangedDescription : public testing::TestWithParam<ChangeCase> {};

TEST_P(ChangedDescription, ShowsInWhateverIsRead) {
  QAIAssistantProperties record;
  record.setProperty("db_structure", describe("before"));
  EXPECT_EQ(record.obtainDatabaseStructureText(), "CREATE TABLE `before` ()\n");
  GetParam().change(record);
  EXPECT_EQ(record.obtainDatabaseStructureText(), "CREATE TABLE `t` ()\n");
  EXPECT_EQ(record.obtainProperty("combined_instructions").stringValue(), "CREATE TABLE `t` ()\n\n");
  EXPECT_EQ(join(record.obtainInstructionsJson()), R"("CREATE TABLE `t` ()\n\n")");
  const CMVariant list = record.obtainProperty("db_structure");
  const CMVariantList& schemas = list.listRef().at(0).mapValue().at("schemas").listRef();
  EXPECT_EQ(schemas.at(0).mapValue().at("instructions").listRef().at(0).stringValue(), "CREATE TABLE `t` ()");
}

/// A record whose text has been asked for.
QAIAssistantProperties otherRecord() {
  QAIAssistantProperties other;
  other.setProperty("db_structure", describe("t"));
  other.obtainCombinedInstructions();
  return other;
}

INSTANTIATE_TEST_SUITE_P(
    Ways, ChangedDescription,
    testing::Values(
        ChangeCase{"set_as_a_text", [](auto& record) { record.setProperty("db_structure", describe("t")); }},
        ChangeCase{
            "set_as_a_list",
            [](auto& record) {
              const CMVariantMap table{{"name", "t"}, {"fields", CMVariantList{}}};
              const CMVariantMap schema{{"tables", CMVariantList{table}}};
              record.setProperty("db_structure", CMVariantList{CMVariantMap{{"schemas", CMVariantList{schema}}}});
            }},
        ChangeCase{"applied", [](auto& record) { otherRecord().applyAssignedProperties(&record); }},
        ChangeCase{"adopted",
                   [](auto& record) {
                     QAIAssistantProperties other = otherRecord();
                     record.adoptAssigned(other);
                   }},
        ChangeCase{"restored",
                   [](auto& record) {
                     COJson saved;
                     saved.addKeyValue("db_structure")->setString(describe("t"));
                     record.restore(saved);
                   }},
        ChangeCase{"of_another_record", [](auto& record) { record = otherRecord(); }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Description, EachReadRaisesTheAssertionsOfAllThatIsUnusableInTheSameOrder) {
  QAIAssistantProperties record;
  record.setProperty("db_structure", R"([{"schemas":[{"tables":[{},{"name":"t","fields":[1]}]},2]},3])");
  const std::vector<std::string> four(4, "qai_assistant_properties: false");
  std::vector<int> lines;
  for (int round = 0; round < 2; ++round) {
    for (const std::function<void()>& read : std::vector<std::function<void()>>{
             [&] { record.obtainDatabaseStructureText(); }, [&] { record.obtainCombinedInstructions(); },
             [&] { record.obtainInstructionsJson(); }, [&] { record.obtainProperty("combined_instructions"); },
             [&] { record.obtainProperty("db_structure"); }}) {
      const AssertionLog log;
      read();
      EXPECT_EQ(log.all(), four);
      if (lines.empty()) lines = log.lines();
      EXPECT_EQ(log.lines(), lines);
    }
  }
}

TEST(Description, ThatIsRefusedLeavesTheTextAsItWas) {
  QAIAssistantProperties record;
  record.setProperty("db_structure", describe("t"));
  const AssertionLog log;
  record.obtainCombinedInstructions();
  EXPECT_FALSE(record.setProperty("db_structure", "["));
  EXPECT_FALSE(record.setProperty("db_structure", ""));
  EXPECT_EQ(record.obtainDatabaseStructureText(), "CREATE TABLE `t` ()\n");
}

}  // namespace
