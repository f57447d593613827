// The Assistants service's settings record: the two keys that it has besides.
#include "qai_assistant_properties_openai.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Type = CMVariant::ValueType;
using Record = QAIAssistantProperties_OPENAI;

TEST(AssistantsRecord, ListsItsTwoKeysBehindThoseOfEveryRecord) {
  const auto common = QAIAssistantProperties().obtainPropertyList();
  auto list = Record().obtainPropertyList();
  ASSERT_EQ(list.size(), common.size() + 2);
  EXPECT_TRUE(std::equal(common.begin(), common.end(), list.begin()));
  list.erase(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(common.size()));
  EXPECT_THAT(list, ElementsAre(Pair("name", "string"), Pair("description", "string")));
}

TEST(AssistantsRecord, NewOneHasANameAndNoDescription) {
  const Record record;
  EXPECT_EQ(record.obtainProperty("name").getValueType(), Type::String);
  EXPECT_EQ(record.obtainProperty("name").stringValue(), "Orvenda Assistant");
  EXPECT_EQ(record.obtainProperty("description").getValueType(), Type::String);
  EXPECT_EQ(record.obtainProperty("description").stringValue(), "");
  EXPECT_EQ(record.temperature, 1.0);
  EXPECT_EQ(record.model, "");
}

TEST(AssistantsRecord, ItsTwoKeysAreStoredAndDoNotCountAsAssigned) {
  Record record;
  EXPECT_TRUE(record.setProperty("name", "N"));
  EXPECT_TRUE(record.setProperty("description", "D"));
  EXPECT_EQ(record.obtainProperty("name").stringValue(), "N");
  EXPECT_EQ(record.obtainProperty("description").stringValue(), "D");
  EXPECT_TRUE(record.setProperty("name", ""));
  EXPECT_EQ(record.name, "");
  EXPECT_THAT(record.assignedKeys, IsEmpty());
}

TEST(AssistantsRecord, ValueThatIsNoTextIsAssertedYetStoredAsItsText) {
  struct Row {
    CMVariant value;
    const char* stored;
  };
  for (const char* key : {"name", "description"}) {
    for (const Row& row : {Row{2.0, "2"}, {0.5, "0.5"}, {CMVariant(), ""}, {CMVariantList{"x"}, ""}}) {
      const AssertionLog log;
      Record record;
      EXPECT_TRUE(record.setProperty(key, row.value));
      EXPECT_EQ(record.obtainProperty(key).stringValue(), row.stored);
      EXPECT_THAT(log.all(), ElementsAre("qai_assistant_properties_openai: "
                                         "value.getValueType() == CMVariant::ValueType::String"));
    }
  }
}

TEST(AssistantsRecord, OtherKeysBehaveAsInEveryRecord) {
  Record record;
  EXPECT_TRUE(record.setProperty("model", "m"));
  EXPECT_FALSE(record.setProperty("temperature", 0.5));
  EXPECT_FALSE(record.setProperty("Name", "case counts"));
  EXPECT_EQ(record.temperature, 1.0);
  EXPECT_EQ(record.obtainProperty("model").stringValue(), "m");
  EXPECT_EQ(record.obtainProperty("Name").getValueType(), CMVariant().getValueType());
  EXPECT_THAT(record.assignedKeys, ElementsAre("Name", "model", "temperature"));
}

TEST(AssistantsRecord, AssignedKeysCarriedOverLeaveNameAndDescriptionBehind) {
  Record from;
  from.setProperty("model", "m");
  from.setProperty("name", "N");
  from.setProperty("description", "D");
  Record to;
  from.applyAssignedProperties(&to);
  EXPECT_EQ(to.model, "m");
  EXPECT_EQ(to.name, "Orvenda Assistant");
  EXPECT_EQ(to.description, "");
}

}  // namespace
